#include <fmt/format.h>

#include <cmath>

#include "hosting/LibraryNumbers.h"
#include "tools/shadingctl/budget/Budget.h"
#include "tools/shadingctl/output/Console.h"

namespace shadingctl {
namespace {

constexpr double kHighestHz = 100000;  // a limit above it is none

// Removes the error that rounding an interval to whole ns causes.
double Rounded(double hz) { return std::round(hz * 1e3) / 1e3; }
double RateHz(std::int64_t intervalNs) { return Rounded(1e9 / static_cast<double>(intervalNs)); }
Json RoundedHz(std::optional<double> const& hz) { return hz ? Json(Rounded(*hz)) : Json(nullptr); }
Json Microseconds(std::optional<std::int64_t> const& ns) {
  return ns ? Json(static_cast<double>(*ns) / 1e3) : Json(nullptr);
}

Json BudgetJson(Budget const& budget) {
  Timing const& timing = budget.timing;
  Limits const& limits = budget.limits;
  auto const& lock = budget.lock;
  return {{"hall_rate_hz", RateHz(timing.hallIntervalNs)},
          {"frame_rate_hz", RateHz(timing.frameIntervalNs)},
          {"exposure_us", Microseconds(timing.exposureNs)},
          {"readout_us", Microseconds(timing.readoutNs)},
          {"delivery_delay_us", Microseconds(timing.deliveryDelayNs)},
          {"start", budget.Matched()},
          {"beyond_reach", budget.ShareOf(Obstacle::kReach)},
          {"beyond_tolerance", budget.ShareOf(Obstacle::kTolerance)},
          {"single", budget.ShareOf(Obstacle::kSingle)},
          {"short_history", budget.ShareOf(Obstacle::kHistory)},
          {"nothing_after", budget.ShareOf(Obstacle::kNothingAfter)},
          {"both_ends_near", budget.bothEndsNear},
          {"median_coverage", OrNull(budget.medianCoverage)},
          {"worst_coverage", OrNull(budget.worstCoverage)},
          {"fewest_samples", budget.fewestSamples},
          {"reach_back_us", Microseconds(budget.reachBackNs)},
          {"window_back_us", Microseconds(budget.windowBackNs)},
          {"window_ahead_us", Microseconds(budget.windowAheadNs)},
          {"locked_phases", lock ? Json(lock->phases) : Json(nullptr)},
          {"locked_lowest", lock ? Json(lock->lowestMatch) : Json(nullptr)},
          {"locked_highest", lock ? Json(lock->highestMatch) : Json(nullptr)},
          {"longest_exposure_us", Microseconds(limits.longestExposureNs)},
          {"lowest_tolerance_hz", RoundedHz(limits.lowestToleranceHz)},
          {"lowest_history_hz", RoundedHz(limits.lowestHistoryHz)},
          {"lowest_span_hz", RoundedHz(limits.lowestSpanHz)},
          {"highest_start_hz", RoundedHz(limits.highestStartHz)},
          {"highest_end_hz", RoundedHz(limits.highestEndHz)}};
}

// ---- Text

double Number(Json const& budget, char const* key) { return budget.at(key).get<double>(); }

std::string Percent(Json const& budget, char const* key) {
  return budget.at(key).is_null() ? "-" : PercentText(100 * Number(budget, key));
}

std::string Milliseconds(double us) { return fmt::format("{:.3f} ms", us / 1e3); }
std::string Milliseconds(Json const& budget, char const* key) { return Milliseconds(Number(budget, key)); }

// A rate that limits nothing that a stabiliser has is not told.
bool IsLimit(Json const& hz) { return !hz.is_null() && hz.get<double>() < kHighestHz; }

// "60.0 % to 80.0 %"; empty where the phases do not matter.
std::string LockedText(Json const& budget) {
  bool const matters = budget.at("locked_lowest") != budget.at("locked_highest");
  return matters ? Percent(budget, "locked_lowest") + " to " + Percent(budget, "locked_highest") : std::string();
}

std::string VerdictText(Json const& budget) {
  double const matched = Number(budget, "start");
  double const bothNear = Number(budget, "both_ends_near");
  if (matched == 0) return "Does not fit: no frame has a sample at the start of its search interval.\n";
  if (matched < 1) {
    return fmt::format("Fits in part: {} of the frames have a sample at the start of their search interval.\n",
                       Percent(budget, "start"));
  }
  if (bothNear < 1) {
    return fmt::format("Fits in part: every frame has a sample at the start of its search interval, {} at its end.\n",
                       bothNear == 0 ? "none" : Percent(budget, "both_ends_near"));
  }
  return "Fits: every frame has samples at both ends of its search interval.\n";
}

std::string HistoryText(Json const& budget) {
  std::string const text = fmt::format(
      "History    {} samples in {} frames at least, {} are needed: ", budget.at("fewest_samples").get<std::int64_t>(),
      hosting::kHistoryFrames, hosting::kWindowSize);
  if (Number(budget, "short_history") == 0) return text + "enough\n";
  return text + fmt::format("too few for {} of the frames; enough from {:.1f} a second on\n",
                            Percent(budget, "short_history"), Number(budget, "lowest_history_hz"));
}

std::string StartText(Json const& budget) {
  std::string text = fmt::format("Start      {} before the timestamp; ", Milliseconds(budget, "reach_back_us"));
  if (budget.at("window_back_us").is_null()) return text + "there is no window\n";
  text += fmt::format("the window begins {} before it at least\n", Milliseconds(budget, "window_back_us"));
  if (!budget.at("longest_exposure_us").is_null()) {
    text += fmt::format("           within reach for exposures up to {} at this rate of samples\n",
                        Milliseconds(budget, "longest_exposure_us"));
  }
  if (IsLimit(budget.at("highest_start_hz"))) {
    text += fmt::format("           within reach for up to {:.1f} samples a second at this exposure\n",
                        Number(budget, "highest_start_hz"));
  }
  return text;
}

std::string EndText(Json const& budget) {
  double const endUs = Number(budget, "readout_us") - Number(budget, "reach_back_us");
  std::string text =
      fmt::format("End        {} {} the timestamp; ", Milliseconds(std::abs(endUs)), endUs >= 0 ? "after" : "before");
  if (budget.at("window_ahead_us").is_null()) return text + "there is no window\n";
  text += fmt::format("the window ends {} after it at least\n", Milliseconds(budget, "window_ahead_us"));
  if (IsLimit(budget.at("highest_end_hz"))) {
    text += fmt::format("           within the window for up to {:.1f} samples a second\n",
                        Number(budget, "highest_end_hz"));
  }
  return text;
}

std::string MatchText(Json const& budget) {
  std::string text = fmt::format("Match      {} of the frames have a sample at their start, at random phase\n",
                                 Percent(budget, "start"));
  constexpr char const* kObstacles[][2] = {{"beyond_reach", "the start lies before the window"},
                                           {"beyond_tolerance", "no sample is near the start"},
                                           {"single", "the search interval is too short for two samples"},
                                           {"short_history", "the history is too short"},
                                           {"nothing_after", "no sample after the timestamp has come"}};
  for (auto const& [key, words] : kObstacles) {
    if (Number(budget, key) > 0) text += fmt::format("           {}: {}\n", words, Percent(budget, key));
  }
  if (Number(budget, "beyond_tolerance") > 0) {
    text += fmt::format("           a sample is near every start from {:.1f} samples a second on\n",
                        Number(budget, "lowest_tolerance_hz"));
  }
  if (Number(budget, "single") > 0) {
    text += fmt::format("           every search interval has two samples above {:.1f} samples a second\n",
                        Number(budget, "lowest_span_hz"));
  }
  if (std::string const locked = LockedText(budget); !locked.empty()) {
    auto const phases = budget.at("locked_phases").get<std::int64_t>();
    text += fmt::format(
        "Locked     {}: as long as both clocks keep pace, {} of the frames match\n",
        phases == 1 ? "every frame has the same phase" : fmt::format("the same phases come every {} frames", phases),
        locked);
  }
  return text;
}

}  // namespace

Json BudgetsJson(std::vector<Budget> const& budgets) {
  Json list = Json::array();
  for (Budget const& budget : budgets) list.push_back(BudgetJson(budget));
  return {{"schema", "shadingctl-budget"}, {"version", 1}, {"budgets", std::move(list)}};
}

std::string BudgetText(Json const& document) {
  Json const& budget = document.at("budgets").front();
  std::string text =
      VerdictText(budget) +
      fmt::format("Samples    {:.6g} a second, one every {}; frames {:.6g} a second\n", Number(budget, "hall_rate_hz"),
                  Milliseconds(1e6 / Number(budget, "hall_rate_hz")), Number(budget, "frame_rate_hz"));
  text += HistoryText(budget) + StartText(budget) + EndText(budget) + MatchText(budget);
  if (!budget.at("worst_coverage").is_null()) {
    text += fmt::format(
        "Coverage   of the search interval {} (median), {} at worst; both ends near in {} of the frames\n",
        Percent(budget, "median_coverage"), Percent(budget, "worst_coverage"), Percent(budget, "both_ends_near"));
  }
  return text;
}

std::string BudgetsTable(Json const& document) {
  constexpr char const* kRow = "{:>10} {:>11}  {:>7} {:>7} {:>9} {:>7} {:>7}  {:>9} {:>7} {:>7}  {}\n";
  std::string text = fmt::format(kRow, "samples", "exposure", "start", "reach", "tolerance", "history", "single",
                                 "both ends", "median", "worst", "locked");
  text += fmt::format(kRow, "a second", "us", "", "", "", "", "", "near", "covered", "covered", "");
  for (Json const& budget : document.at("budgets")) {
    double const history = Number(budget, "short_history") + Number(budget, "nothing_after");
    std::string row =
        fmt::format(kRow, fmt::format("{:.6g}", Number(budget, "hall_rate_hz")), Number(budget, "exposure_us"),
                    Percent(budget, "start"), Percent(budget, "beyond_reach"), Percent(budget, "beyond_tolerance"),
                    PercentText(100 * history), Percent(budget, "single"), Percent(budget, "both_ends_near"),
                    Percent(budget, "median_coverage"), Percent(budget, "worst_coverage"), LockedText(budget));
    row.erase(row.find_last_not_of(" \n") + 1);
    text += row + "\n";
  }
  return text;
}

}  // namespace shadingctl
