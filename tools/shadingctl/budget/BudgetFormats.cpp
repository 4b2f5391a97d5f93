#include "tools/shadingctl/budget/BudgetFormats.h"

#include <fmt/format.h>

#include <cmath>
#include <optional>

#include "tools/shadingctl/output/Json.h"
#include "tools/shadingctl/output/PercentText.h"

namespace shadingctl {
namespace {

constexpr double kHighestHz = 100000;  // a limit above it is none

// Removes the error that rounding an interval to whole ns causes.
double Rounded(double hz) { return std::round(hz * 1e3) / 1e3; }
double RateHz(std::int64_t intervalNs) { return Rounded(1e9 / static_cast<double>(intervalNs)); }
std::optional<double> Rounded(std::optional<double> const& hz) {
  return hz ? std::optional(Rounded(*hz)) : std::nullopt;
}

double Microseconds(std::int64_t ns) { return static_cast<double>(ns) / 1e3; }
std::string Milliseconds(std::int64_t ns) { return fmt::format("{:.3f} ms", static_cast<double>(ns) / 1e6); }

std::string Percent(double share) { return PercentText(100 * share); }
std::string Percent(std::optional<double> share) { return share ? Percent(*share) : "-"; }

std::optional<double> Microseconds(std::optional<std::int64_t> const& ns) {
  return ns ? std::optional(Microseconds(*ns)) : std::nullopt;
}

std::string VerdictText(Budget const& budget) {
  if (budget.Matched() == 0) return "Does not fit: no frame has a sample at the start of its readout.\n";
  if (budget.Matched() < 1) {
    return fmt::format("Fits in part: {} of the frames have a sample at the start of their readout.\n",
                       Percent(budget.Matched()));
  }
  if (budget.bothEndsNear < 1) {
    return fmt::format("Fits in part: every frame has a sample at the start of its readout, {} at its end.\n",
                       budget.bothEndsNear == 0 ? "none" : Percent(budget.bothEndsNear));
  }
  return "Fits: every frame has samples at both ends of its readout.\n";
}

std::string HistoryText(Budget const& budget) {
  std::string text = fmt::format("History    {} samples in {} frames at least, {} are needed: ", budget.fewestSamples,
                                 kKeptFrames, kWindow);
  double const lacking = budget.ShareOf(Obstacle::kHistory);
  if (lacking == 0) return text + "enough\n";
  return text + fmt::format("too few for {} of the frames; enough from {:.1f} a second on\n", Percent(lacking),
                            *budget.limits.lowestHistoryHz);
}

std::string StartText(Budget const& budget) {
  std::string text = fmt::format("Start      {} before the timestamp; ", Milliseconds(budget.reachBackNs));
  if (!budget.windowBackNs) return text + "there is no window\n";
  text += fmt::format("the window begins {} before it at least\n", Milliseconds(*budget.windowBackNs));
  if (budget.limits.longestExposureNs) {
    text += fmt::format("           within reach for exposures up to {} at this rate of samples\n",
                        Milliseconds(*budget.limits.longestExposureNs));
  }
  if (budget.limits.highestStartHz.value_or(kHighestHz) < kHighestHz) {
    text += fmt::format("           within reach for up to {:.1f} samples a second at this exposure\n",
                        *budget.limits.highestStartHz);
  }
  return text;
}

std::string EndText(Budget const& budget) {
  std::int64_t const endNs = budget.timing.readoutNs - budget.reachBackNs;
  std::string text = endNs >= 0 ? fmt::format("End        {} after the timestamp; ", Milliseconds(endNs))
                                : fmt::format("End        {} before the timestamp; ", Milliseconds(-endNs));
  if (!budget.windowAheadNs) return text + "there is no window\n";
  text += fmt::format("the window ends {} after it at least\n", Milliseconds(*budget.windowAheadNs));
  if (budget.limits.highestEndHz.value_or(kHighestHz) < kHighestHz) {
    text +=
        fmt::format("           within the window for up to {:.1f} samples a second\n", *budget.limits.highestEndHz);
  }
  return text;
}

std::string MatchText(Budget const& budget) {
  std::string text = fmt::format("Match      {} of the frames have a sample at their start, at random phase\n",
                                 Percent(budget.Matched()));
  struct {
    Obstacle obstacle;
    char const* words;
  } constexpr kRows[] = {{Obstacle::kReach, "the start lies before the window"},
                         {Obstacle::kTolerance, "no sample is near the start"},
                         {Obstacle::kSingle, "the readout is too short for two samples"},
                         {Obstacle::kHistory, "the history is too short"},
                         {Obstacle::kNothingAfter, "no sample after the timestamp has come"}};
  for (auto const& row : kRows) {
    double const share = budget.ShareOf(row.obstacle);
    if (share > 0) text += fmt::format("           {}: {}\n", row.words, Percent(share));
  }
  double const toleranceHz = *budget.limits.lowestToleranceHz;
  if (budget.ShareOf(Obstacle::kTolerance) > 0) {
    text += fmt::format("           a sample is near every start from {:.1f} samples a second on\n", toleranceHz);
  }
  if (budget.ShareOf(Obstacle::kSingle) > 0) {
    text += fmt::format("           every readout has two samples above {:.1f} samples a second\n",
                        *budget.limits.lowestSpanHz);
  }
  if (budget.lock && budget.lock->lowestMatch != budget.lock->highestMatch) {
    std::string const phases = budget.lock->phases == 1
                                   ? "every frame has the same phase"
                                   : fmt::format("the same phases come every {} frames", budget.lock->phases);
    text += fmt::format("Locked     {}: as long as both clocks keep pace, {} to {} of the frames match\n", phases,
                        Percent(budget.lock->lowestMatch), Percent(budget.lock->highestMatch));
  }
  return text;
}

}  // namespace

std::string BudgetText(Budget const& budget) {
  Timing const& timing = budget.timing;
  std::string text =
      VerdictText(budget) + fmt::format("Samples    {:.6g} a second, one every {}; frames {:.6g} a second\n",
                                        RateHz(timing.hallIntervalNs), Milliseconds(timing.hallIntervalNs),
                                        RateHz(timing.frameIntervalNs));
  text += HistoryText(budget) + StartText(budget) + EndText(budget) + MatchText(budget);
  if (budget.worstCoverage) {
    text += fmt::format("Coverage   of the readout {} (median), {} at worst; both ends near in {} of the frames\n",
                        Percent(budget.medianCoverage), Percent(budget.worstCoverage), Percent(budget.bothEndsNear));
  }
  return text;
}

std::string BudgetTable(std::vector<Budget> const& budgets) {
  constexpr char const* kRow = "{:>10} {:>11}  {:>7} {:>7} {:>9} {:>7} {:>7}  {:>9} {:>7} {:>7}  {}\n";
  std::string text = fmt::format(kRow, "samples", "exposure", "start", "reach", "tolerance", "history", "single",
                                 "both ends", "median", "worst", "locked");
  text += fmt::format(kRow, "a second", "us", "", "", "", "", "", "near", "covered", "covered", "");
  for (Budget const& budget : budgets) {
    std::string locked;
    if (budget.lock && budget.lock->lowestMatch != budget.lock->highestMatch) {
      locked = fmt::format("{} to {}", Percent(budget.lock->lowestMatch), Percent(budget.lock->highestMatch));
    }
    std::string row =
        fmt::format(kRow, fmt::format("{:.6g}", RateHz(budget.timing.hallIntervalNs)), budget.timing.exposureNs / 1000,
                    Percent(budget.Matched()), Percent(budget.ShareOf(Obstacle::kReach)),
                    Percent(budget.ShareOf(Obstacle::kTolerance)),
                    Percent(budget.ShareOf(Obstacle::kHistory) + budget.ShareOf(Obstacle::kNothingAfter)),
                    Percent(budget.ShareOf(Obstacle::kSingle)), Percent(budget.bothEndsNear),
                    Percent(budget.medianCoverage), Percent(budget.worstCoverage), locked);
    row.erase(row.find_last_not_of(" \n") + 1);
    text += row + "\n";
  }
  return text;
}

Json BudgetJson(Budget const& budget) {
  Timing const& timing = budget.timing;
  Limits const& limits = budget.limits;
  Json json;
  json["hall_rate_hz"] = RateHz(timing.hallIntervalNs);
  json["frame_rate_hz"] = RateHz(timing.frameIntervalNs);
  json["exposure_us"] = Microseconds(timing.exposureNs);
  json["readout_us"] = Microseconds(timing.readoutNs);
  json["delivery_delay_us"] = Microseconds(timing.deliveryDelayNs);
  json["start"] = budget.Matched();
  json["beyond_reach"] = budget.ShareOf(Obstacle::kReach);
  json["beyond_tolerance"] = budget.ShareOf(Obstacle::kTolerance);
  json["single"] = budget.ShareOf(Obstacle::kSingle);
  json["short_history"] = budget.ShareOf(Obstacle::kHistory);
  json["nothing_after"] = budget.ShareOf(Obstacle::kNothingAfter);
  json["both_ends_near"] = budget.bothEndsNear;
  json["median_coverage"] = OrNull(budget.medianCoverage);
  json["worst_coverage"] = OrNull(budget.worstCoverage);
  json["fewest_samples"] = budget.fewestSamples;
  json["reach_back_us"] = Microseconds(budget.reachBackNs);
  json["window_back_us"] = OrNull(Microseconds(budget.windowBackNs));
  json["window_ahead_us"] = OrNull(Microseconds(budget.windowAheadNs));
  json["locked_phases"] = nullptr;
  json["locked_lowest"] = nullptr;
  json["locked_highest"] = nullptr;
  if (budget.lock) {
    json["locked_phases"] = budget.lock->phases;
    json["locked_lowest"] = budget.lock->lowestMatch;
    json["locked_highest"] = budget.lock->highestMatch;
  }
  json["longest_exposure_us"] = OrNull(Microseconds(limits.longestExposureNs));
  json["lowest_tolerance_hz"] = OrNull(Rounded(limits.lowestToleranceHz));
  json["lowest_history_hz"] = OrNull(Rounded(limits.lowestHistoryHz));
  json["lowest_span_hz"] = OrNull(Rounded(limits.lowestSpanHz));
  json["highest_start_hz"] = OrNull(Rounded(limits.highestStartHz));
  json["highest_end_hz"] = OrNull(Rounded(limits.highestEndHz));
  return json;
}

std::string BudgetCsv(std::vector<Budget> const& budgets) {
  std::string text;
  for (Budget const& budget : budgets) {
    Json const json = BudgetJson(budget);
    std::string names;
    std::string values;
    for (auto const& [name, value] : json.items()) {
      names += (names.empty() ? "" : ",") + name;
      values += (values.empty() ? "" : ",") + (value.is_null() ? std::string() : value.dump());
    }
    text += (text.empty() ? names + "\n" : "") + values + "\n";
  }
  return text;
}

}  // namespace shadingctl
