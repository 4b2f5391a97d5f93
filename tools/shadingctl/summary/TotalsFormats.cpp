#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "hosting/QuotedText.h"
#include "tools/shadingctl/output/Console.h"
#include "tools/shadingctl/output/Json.h"
#include "tools/shadingctl/summary/Totals.h"

namespace shadingctl {
namespace {

constexpr double kPercents[] = {1, 5, 25, 50, 75, 95, 99};

std::string ValueText(Measure const& measure, std::optional<double> const& value) {
  return measure.scale == Scale::kShare ? fmt::format("{:.1f}", 100 * *value) : fmt::format("{:.0f}", *value);
}

// As many digits as are known: shares to 0.1 %, other figures to a tenth.
Json Rounded(Measure const& measure, std::optional<double> const& value) {
  if (!value) return nullptr;
  double const steps = measure.scale == Scale::kShare ? 1e4 : 10;
  return std::round(*value * steps) / steps;
}

std::string GravityText(RankedCamera const& ranked) {
  if (ranked.severity >= kSeverityNames.size()) return "no finding";
  return fmt::format("{}, {} frames", kSeverityNames[ranked.severity], ranked.frames);
}

Json CameraJson(RankedCamera const& ranked) {
  bool const hasFinding = ranked.severity < kSeverityNames.size();
  return {{"severity", hasFinding ? Json(kSeverityNames[ranked.severity]) : Json(nullptr)},
          {"frames", ranked.frames},
          {"match_rate", std::round(ranked.matchRate * 1e6) / 1e6},
          {"session", ranked.session},
          {"camera", ranked.camera},
          {"file", ranked.file}};
}

}  // namespace

std::string Totals::MatchText() const {
  std::string text;
  for (auto const& [name, count] : mSum.matches) {
    if (count == 0 || name == "warm_up") continue;
    text += fmt::format("{}{} {} ({})", text.empty() ? "" : ", ", hosting::Escaped(name), count,
                        PercentText(count, std::max<std::uint64_t>(WarmFrames(), 1)));
  }
  return text.empty() ? "none" : text;
}

std::string Totals::MeasuresText() const {
  std::string text = fmt::format("{:<32} {:>8}", "Percentiles across cameras", "least");
  for (double const percent : kPercents) text += fmt::format(" {:>8}", fmt::format("{:g} %", percent));
  text += fmt::format(" {:>8} {:>8}\n", "largest", "of");
  for (auto const& [measure, percentiles] : mMeasures) {
    if (percentiles.Count() == 0) continue;
    text += fmt::format("  {:<30} {:>8}", measure.title, ValueText(measure, percentiles.Least()));
    for (double const percent : kPercents) text += fmt::format(" {:>8}", ValueText(measure, percentiles.At(percent)));
    text += fmt::format(" {:>8} {:>8}\n", ValueText(measure, percentiles.Largest()), percentiles.Count());
  }
  return text + fmt::format(
                    "  least and largest are exact; the others are off by at most {:g} percentage points where "
                    "they are\n  shares, and by at most {:.1f} % of their value, or 1, where they are not\n",
                    100 * Percentiles::kShareError, 100 * Percentiles::kQuantityError);
}

// The gravest first, then those of the most frames.
std::vector<std::pair<std::string, FindingTotal>> Totals::RankedFindings() const {
  std::vector<std::pair<std::string, FindingTotal>> ranked(mFindings.begin(), mFindings.end());
  std::stable_sort(ranked.begin(), ranked.end(), [](auto const& one, auto const& other) {
    return std::tie(one.second.severity, other.second.frames) < std::tie(other.second.severity, one.second.frames);
  });
  return ranked;
}

std::string Totals::FindingsText() const {
  std::string text;
  for (auto const& [code, total] : RankedFindings()) {
    text += fmt::format("Finding    {} ({}): {} of {} cameras, {} frames\n", hosting::Escaped(code),
                        kSeverityNames[total.severity], total.cameras, mCameras, total.frames);
    for (RankedCamera const& ranked : total.worst) {
      text += fmt::format("           {}  {}, camera {} ({})\n", GravityText(ranked), hosting::Escaped(ranked.session),
                          ranked.camera, hosting::Escaped(ranked.file));
    }
  }
  return text;
}

std::string Totals::Text() const {
  std::string text =
      fmt::format("Results    {} read, {} of them ended early; {} unusable\n", mResults, mUnfinished, mUnusable);
  text += fmt::format("Frames     {} of {} cameras, {:.3f} s; {} of them in a warm-up\n", mSum.frames, mCameras,
                      static_cast<double>(mSum.recordedNs) / 1e9, mSum.warmUpFrames);
  text += fmt::format("Matched    {}\n", MatchText());
  text += fmt::format("Samples    {}\n", mSum.samples);
  if (mSum.recordedAnswers > 0) {
    text += fmt::format("Answers    {} recorded, {} different\n", mSum.recordedAnswers, mSum.differentAnswers);
  }
  text += FindingsText();
  if (mCameras > 0) text += MeasuresText();
  for (RankedCamera const& ranked : mWorst) {
    text += fmt::format("Worst      {}, {:.1f} %  {}, camera {} ({})\n", GravityText(ranked), 100 * ranked.matchRate,
                        hosting::Escaped(ranked.session), ranked.camera, hosting::Escaped(ranked.file));
  }
  return text;
}

std::string Totals::ToJson() const {
  Json findings = Json::object();
  for (auto const& [code, total] : RankedFindings()) {
    Json cameras = Json::array();
    for (RankedCamera const& ranked : total.worst) cameras.push_back(CameraJson(ranked));
    findings[code] = {{"severity", kSeverityNames[total.severity]},
                      {"cameras", total.cameras},
                      {"frames", total.frames},
                      {"worst", cameras}};
  }
  Json measures = Json::object();
  for (auto const& [measure, percentiles] : mMeasures) {
    Json shown = Json::object();
    for (double const percent : kPercents) {
      shown[fmt::format("{:g}", percent)] = Rounded(measure, percentiles.At(percent));
    }
    measures[measure.name] = {{"cameras", percentiles.Count()},
                              {"least", Rounded(measure, percentiles.Least())},
                              {"percentiles", shown},
                              {"largest", Rounded(measure, percentiles.Largest())}};
  }
  Json worst = Json::array();
  for (RankedCamera const& ranked : mWorst) worst.push_back(CameraJson(ranked));
  Json const document = {{"schema", "shadingctl-summarize"},
                         {"version", 1},
                         {"results", {{"read", mResults}, {"ended_early", mUnfinished}, {"unusable", mUnusable}}},
                         {"cameras", mCameras},
                         {"frames", mSum.frames},
                         {"warm_up_frames", mSum.warmUpFrames},
                         {"recorded_ns", mSum.recordedNs},
                         {"matches", mSum.matches},
                         {"samples", mSum.samples},
                         {"answers", {{"recorded", mSum.recordedAnswers}, {"different", mSum.differentAnswers}}},
                         {"findings", findings},
                         {"measures", measures},
                         {"errors", {{"share", Percentiles::kShareError}, {"quantity", Percentiles::kQuantityError}}},
                         {"worst", worst}};
  return JsonText(document);
}

}  // namespace shadingctl
