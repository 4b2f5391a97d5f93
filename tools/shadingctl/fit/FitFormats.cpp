#include "tools/shadingctl/fit/FitFormats.h"

#include <fmt/format.h>

#include <nlohmann/json.hpp>
#include <utility>

#include "hosting/LibraryNumbers.h"

namespace shadingctl {
namespace {

using Json = nlohmann::ordered_json;

// One line of a result. Without an interval it is a figure of the fit alone.
struct Quantity {
  char axis = 'x';
  char const* name = "";
  std::optional<double> value;
  std::optional<Interval> interval;
  std::optional<double> library;  // what the library takes it for
  int digits = 4;                 // after the point, for people
};

void AddAxis(std::vector<Quantity>& list, char name, AxisFit const& axis, double libraryLagUs) {
  auto const add = [&](char const* quantity, Estimate const& estimate, std::optional<double> library, int digits) {
    list.push_back({name, quantity, estimate.value, estimate.interval, library, digits});
  };
  add("lag_us", axis.lagUs, libraryLagUs, 0);
  if (axis.line) {
    add("lag_slope", axis.line->slope, hosting::kOffsetFactor, 4);
    add("lag_intercept_us", axis.line->interceptUs, hosting::kOffsetConstantUs, 0);
  } else {
    list.push_back({name, "lag_slope", std::nullopt, std::nullopt, hosting::kOffsetFactor, 4});
    list.push_back({name, "lag_intercept_us", std::nullopt, std::nullopt, hosting::kOffsetConstantUs, 0});
  }
  add("gain", axis.gain, std::nullopt, 4);
  add("cross_talk", axis.crossTalk, std::nullopt, 4);
  list.push_back({name, "residual", axis.residual, std::nullopt, std::nullopt, 4});
  list.push_back({name, "residual_share", axis.residualShare, std::nullopt, std::nullopt, 4});
}

double LibraryLagUs(ReferenceFit const& fit) {
  return hosting::kOffsetFactor * fit.shorterUs + hosting::kOffsetConstantUs;
}

std::vector<Quantity> QuantitiesOf(ReferenceFit const& fit) {
  std::vector<Quantity> list;
  AddAxis(list, 'x', fit.axes[0], LibraryLagUs(fit));
  AddAxis(list, 'y', fit.axes[1], LibraryLagUs(fit));
  return list;
}

char const* HallAxis(AxisFit const& axis) { return axis.isDrivenByY ? "hall_y" : "hall_x"; }

std::string Number(double value, int digits) {
  std::string text = fmt::format("{:.{}f}", value, digits);
  bool const isZero = text.find_first_of("123456789") == std::string::npos;
  return isZero && text[0] == '-' ? text.substr(1) : text;
}

std::string Cell(std::optional<double> value, int digits) { return value ? Number(*value, digits) : std::string("-"); }

std::string Cell(std::optional<double> value) { return value ? fmt::format("{}", *value) : std::string(); }

std::string VerdictOf(Quantity const& quantity) {
  if (!quantity.library || !quantity.interval) return "";
  return quantity.interval->Holds(*quantity.library) ? "inside" : "outside";
}

Json OrNull(std::optional<double> value) {
  if (value) return *value;
  return nullptr;
}

// As many digits as a picture can show.
double Short(double value) { return std::stod(fmt::format("{:.7g}", value)); }

Json OrNull(std::optional<Estimate> const& estimate) {
  if (!estimate) return nullptr;
  return {Short(estimate->value), Short(estimate->interval.low), Short(estimate->interval.high)};
}

// ,"name": [ROW, ROW], one row to a line.
std::string RowsText(char const* name, Json const& rows) {
  std::string text = fmt::format(",\n  \"{}\": [", name);
  for (std::size_t i = 0; i < rows.size(); ++i) text += (i > 0 ? ",\n    " : "\n    ") + rows[i].dump();
  return text + (rows.empty() ? "]" : "\n  ]");
}

}  // namespace

std::string FitText(ReferenceFit const& fit) {
  std::string text = fmt::format("{} frames, {} left out; min(exposure, readout) is {:.0f} us on average\n", fit.frames,
                                 fit.leftOut, fit.shorterUs);
  for (std::size_t i = 0; i < fit.axes.size(); ++i) {
    AxisFit const& axis = fit.axes[i];
    text += fmt::format("Image {}: driven by {}, {}\n", "xy"[i], HallAxis(axis),
                        axis.gain.value < 0 ? "mirrored" : "not mirrored");
  }
  text += fmt::format("\n{:<5} {:<17} {:>10}   {:>10} {:>10}  {:>10}\n", "image", "", "value", "95 % from", "to",
                      "library");
  bool isOutside = false;
  for (Quantity const& quantity : QuantitiesOf(fit)) {
    Interval const interval = quantity.interval.value_or(Interval{});
    auto const bound = [&](double value) { return quantity.interval ? Number(value, quantity.digits) : std::string(); };
    std::string line =
        fmt::format("{:<5} {:<17} {:>10}   {:>10} {:>10}  {:>10} {}", quantity.axis, quantity.name,
                    Cell(quantity.value, quantity.digits), bound(interval.low), bound(interval.high),
                    quantity.library ? Cell(quantity.library, quantity.digits) : "", VerdictOf(quantity));
    text += line.substr(0, line.find_last_not_of(' ') + 1) + "\n";
    isOutside = isOutside || VerdictOf(quantity) == "outside";
  }
  if (!fit.axes[0].line)
    text += "\nExposure and readout vary too little to tell slope and intercept of the lag apart.\n";
  return text + (isOutside ? "\nThe library's numbers do not all lie inside the intervals.\n"
                           : "\nThe library's numbers lie inside the intervals.\n");
}

std::string FitCsv(ReferenceFit const& fit) {
  std::string text = "image,hall,quantity,value,low,high,library\n";
  for (Quantity const& quantity : QuantitiesOf(fit)) {
    AxisFit const& axis = fit.axes[quantity.axis == 'x' ? 0 : 1];
    auto const& interval = quantity.interval;
    text += fmt::format("{},{},{},{},{},{},{}\n", quantity.axis, HallAxis(axis), quantity.name, Cell(quantity.value),
                        interval ? fmt::format("{}", interval->low) : "",
                        interval ? fmt::format("{}", interval->high) : "", Cell(quantity.library));
  }
  return text;
}

std::string FitJson(ReferenceFit const& fit, std::string const& recording, std::string const& reference) {
  Json axes = {{"x", {{"hall", HallAxis(fit.axes[0])}}}, {"y", {{"hall", HallAxis(fit.axes[1])}}}};
  for (Quantity const& quantity : QuantitiesOf(fit)) {
    Json& entry = axes[std::string(1, quantity.axis)][quantity.name];
    entry["value"] = OrNull(quantity.value);
    if (quantity.interval) entry["interval"] = {quantity.interval->low, quantity.interval->high};
    if (quantity.library) entry["library"] = *quantity.library;
  }
  Json const head = {{"schema", kFitSchema},        {"version", kFitVersion}, {"recording", recording},
                     {"reference", reference},      {"frames", fit.frames},   {"left_out", fit.leftOut},
                     {"shorter_us", fit.shorterUs}, {"axes", std::move(axes)}};
  auto const& [x, y] = fit.axes;
  Json search = Json::array();
  for (std::size_t i = 0; i < x.search.size(); ++i) {
    search.push_back({x.search[i].lagUs, Short(x.search[i].residualShare), Short(y.search[i].residualShare)});
  }
  Json groups = Json::array();
  for (std::size_t i = 0; i < x.groups.size(); ++i) {
    groups.push_back({Short(x.groups[i].shorterUs), OrNull(x.groups[i].lagUs), OrNull(y.groups[i].lagUs)});
  }
  Json images = Json::array();
  for (FittedImage const& image : fit.images) {
    images.push_back({image.frame, Short(image.measured[0]), Short(image.measured[1]), Short(image.fitted[0]),
                      Short(image.fitted[1])});
  }
  std::string text = head.dump(2, ' ', false, Json::error_handler_t::replace);
  text.erase(text.rfind("\n}"));
  return text + RowsText("search", search) + RowsText("groups", groups) + RowsText("images", images) + "\n}\n";
}

}  // namespace shadingctl
