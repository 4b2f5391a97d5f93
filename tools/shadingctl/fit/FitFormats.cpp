#include <fmt/format.h>

#include "hosting/LibraryNumbers.h"
#include "tools/shadingctl/fit/BenchSession.h"

namespace shadingctl {
namespace {

constexpr char const* kAxes[] = {"x", "y"};

// In the order of Quantity, with the digits after the point for people.
constexpr struct {
  char const* name;
  int digits;
} kColumns[kQuantities] = {{"lag_us", 0},   {"lag_slope", 4},      {"lag_intercept_us", 0},
                           {"gain", 4},     {"cross_talk", 4},     {"curvature", 4},
                           {"trend", 4},    {"trend_bend", 4},     {"drift_ppm", 1},
                           {"residual", 4}, {"residual_share", 4}, {"correlation", 4}};

// As many digits as a picture can show.
double Short(double value) { return std::stod(fmt::format("{:.7g}", value)); }

Json AxisJson(ReferenceFit const& fit, std::size_t axis) {
  double const library[] = {LibraryLagUs(fit.windows.shorterUs), hosting::kOffsetFactor, hosting::kOffsetConstantUs};
  Json json = {{"hall", nullptr}};
  if (fit.hasLag) json["hall"] = IsDrivenByY(fit.axes[axis].at) ? "hall_y" : "hall_x";
  for (std::size_t i = 0; i < kQuantities; ++i) {
    auto const estimate = EstimateOf(fit, axis, static_cast<Quantity>(i));
    Json& entry = json[kColumns[i].name] = {{"value", nullptr}};
    if (estimate) entry["value"] = estimate->value;
    if (estimate && estimate->half)
      entry["interval"] = {estimate->value - *estimate->half, estimate->value + *estimate->half};
    if (i < std::size(library)) entry["library"] = library[i];
  }
  return json;
}

std::string Number(Json const& value, int digits, char const* missing = "") {
  if (!value.is_number()) return missing;
  std::string text = fmt::format("{:.{}f}", value.get<double>(), digits);
  bool const isZero = text.find_first_of("123456789") == std::string::npos;
  return isZero && text[0] == '-' ? text.substr(1) : text;
}

}  // namespace

Json FitDocument(ReferenceFit const& fit, BenchSession const& session) {
  static constexpr char const* kFollows[] = {"cannot_tell", "shorter", "exposure"};
  static constexpr char const* kSlopeStates[] = {"fitted", "one_exposure", "follows_time"};
  Json document = {{"schema", kFitSchema},
                   {"version", kFitVersion},
                   {"recording", session.recording},
                   {"reference", session.reference},
                   {"frames", fit.hasLag ? fit.windows.list.size() : 0},
                   {"left_out", fit.leftOut},
                   {"clipped", fit.clipped},
                   {"unknown", session.unknown},
                   {"skipped", session.skipped},
                   {"shorter_us", fit.windows.shorterUs},
                   {"readout_us", fit.readoutUs},
                   {"verdict", VerdictOf(fit)},
                   {"reason", ReasonOf(fit)},
                   {"p", nullptr},
                   {"difference", nullptr},
                   {"lag_follows", kFollows[static_cast<std::size_t>(fit.follows)]},
                   {"slope", kSlopeStates[static_cast<std::size_t>(fit.windows.slope)]},
                   {"diagnosis", Json::array()},
                   {"advice", Json::array()},
                   {"refused", nullptr}};
  if (fit.refused) document["refused"] = {{"code", fit.refused->code}, {"text", fit.refused->text}};
  if (!fit.refused) document["p"] = fit.probability;
  for (Cause const& cause : DiagnosisOf(fit)) {
    document["diagnosis"].push_back(cause.code);
    document["advice"].push_back(cause.text);
  }
  for (std::size_t i = 0; i < 2; ++i) {
    document["axes"][kAxes[i]] = AxisJson(fit, i);
    if (fit.refused) continue;
    document["difference"][kAxes[i]] = {{"lag_us", fit.differences[i].lagUs},
                                        {"position", fit.differences[i].position}};
  }
  for (char const* const list : {"outliers", "search", "images"}) document[list] = Json::array();
  for (SearchedLag const& searched : fit.search)
    document["search"].push_back({Short(searched.lagUs), Short(searched.share[0]), Short(searched.share[1])});
  auto const& [x, y] = fit.axes;
  for (std::size_t i = 0; i < x.residuals.size(); ++i) {
    FrameWindow const& window = fit.windows.list[i];
    Json& image = document["images"].emplace_back(Json::array({window.frame}));
    for (double const value : {window.startUs / 1e6, window.exposureUs, window.slopeByUs + fit.windows.slopeByUs,
                               window.position[0], window.position[1], x.tangents[i].position, y.tangents[i].position,
                               x.tangents[i].change[kLag], y.tangents[i].change[kLag]}) {
      image.push_back(Short(value));
    }
    if (!x.isOutlier[i] && !y.isOutlier[i]) continue;
    document["outliers"].push_back(
        {{"frame", window.frame}, {"residual", {Short(x.residuals[i]), Short(y.residuals[i])}}});
  }
  return document;
}

Json FitRows(Json const& document) {
  Json rows = Json::array();
  for (char const* const name : kAxes) {
    Json const& axis = document.at("axes").at(name);
    for (auto const& column : kColumns) {
      Json const& entry = axis.at(column.name);
      Json const interval = entry.value("interval", Json({nullptr, nullptr}));
      rows.push_back({{"image", name},
                      {"hall", axis.at("hall")},
                      {"quantity", column.name},
                      {"value", entry.at("value")},
                      {"low", interval[0]},
                      {"high", interval[1]},
                      {"library", entry.value("library", Json())}});
    }
  }
  return rows;
}

std::string FitText(Json const& document) {
  auto const text = [&](char const* key) { return document.at(key).get<std::string>(); };
  std::string all = fmt::format(
      "{} frames, {} left out ({} of them clipped), {} outliers; min(exposure, readout) is {} us "
      "on average\nVerdict: {}: {}\n",
      document.at("frames").dump(), document.at("left_out").dump(), document.at("clipped").dump(),
      document.at("outliers").size(), Number(document.at("shorter_us"), 0), text("verdict"), text("reason"));
  for (std::size_t i = 0; i < document.at("diagnosis").size(); ++i) {
    all += fmt::format("Diagnosis: {}: {}\n", document["diagnosis"][i].get<std::string>(),
                       document["advice"][i].get<std::string>());
  }
  if (text("lag_follows") != "cannot_tell") {
    all += fmt::format("The lag follows {}\n",
                       text("lag_follows") == "exposure" ? "the exposure" : "min(exposure, readout)");
  }
  for (char const* const name : kAxes) {
    Json const& axis = document.at("axes").at(name);
    if (axis.at("hall").is_null()) return all;
    bool const isMirrored = axis.at("gain").at("value").get<double>() < 0;
    all += fmt::format("Image {}: driven by {}, {}mirrored", name, axis["hall"].get<std::string>(),
                       isMirrored ? "" : "not ");
    Json const& difference = document.at("difference");
    if (!difference.is_null()) {
      all += fmt::format("; {} us from the library's lag, its position off by {} (RMS)",
                         Number(difference.at(name).at("lag_us"), 0), Number(difference.at(name).at("position"), 4));
    }
    all += "\n";
  }
  all += fmt::format("\n{:<5} {:<17} {:>10}   {:>10} {:>10}  {:>10}\n", "image", "", "value", "95 % from", "to",
                     "library");
  std::size_t next = 0;
  for (Json const& row : FitRows(document)) {
    int const digits = kColumns[next++ % kQuantities].digits;
    std::string const line =
        fmt::format("{:<5} {:<17} {:>10}   {:>10} {:>10}  {:>10}", row["image"].get<std::string>(),
                    row["quantity"].get<std::string>(), Number(row["value"], digits, "-"), Number(row["low"], digits),
                    Number(row["high"], digits), Number(row["library"], digits));
    all += line.substr(0, line.find_last_not_of(' ') + 1) + "\n";
  }
  return all;
}

}  // namespace shadingctl
