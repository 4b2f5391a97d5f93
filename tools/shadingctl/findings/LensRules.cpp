// Rules about the stabiliser itself.
#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "tools/shadingctl/findings/RuleWords.h"
#include "tools/shadingctl/findings/Rules.h"

namespace shadingctl::rules {

namespace {

// The lens stands still on an axis when 99 % of its samples repeat the position before, or when the differences from
// sample to sample are as large as the whole spread: mean square of the differences >= variance. Noise gives 2, motion
// that the samples follow gives less than 0.1.
constexpr double kStillShare = 0.99;
constexpr double kStillRoughness = 1.0;
constexpr std::uint64_t kFewSamples = 100;  // fewer say nothing about the stabiliser

bool IsStill(AxisFacts const& axis) {
  return Share(axis.unchanged, axis.differences) >= kStillShare || axis.Roughness().value_or(0) >= kStillRoughness;
}

}  // namespace

// still, dead_axis. Both axes stand still, or one of them.
std::optional<SessionFinding> Still(SessionFacts const& facts) {
  AxisFacts const& x = facts.Stabiliser().X();
  AxisFacts const& y = facts.Stabiliser().Y();
  if (x.differences < kFewSamples || (!IsStill(x) && !IsStill(y))) return std::nullopt;
  std::vector<std::pair<std::string, double>> const figures = {{"range_x", x.values.Range()},
                                                               {"range_y", y.values.Range()}};
  if (IsStill(x) && IsStill(y)) {
    return SessionFinding{"still",
                          fmt::format("the lens does not move: it stays within {:.3g} units in x and {:.3g} in y",
                                      x.values.Range(), y.values.Range()),
                          "see whether the stabiliser is off or locked, on a tripod for example",
                          figures,
                          {}};
  }
  return SessionFinding{"dead_axis",
                        fmt::format("the {} axis does not move (within {:.3g} units), the other one ranges over {:.3g}",
                                    IsStill(x) ? "x" : "y", IsStill(x) ? x.values.Range() : y.values.Range(),
                                    IsStill(x) ? y.values.Range() : x.values.Range()),
                        "check that channel of the hall sensor and its wiring in the provider",
                        figures,
                        {}};
}

// end_stop. At least 6 % of the samples of an axis lie within 0.25 % of its range from one of its extremes: twice as
// many as of a pure swing, which is near its two turning points for 2 * acos(0.995) / (2 pi) = 3.2 % of the time each.
static constexpr double kNearExtreme = 0.0025;
static constexpr double kDwellShare = 0.06;

std::optional<SessionFinding> EndStop(SessionFacts const& facts) {
  struct Extreme {
    char const* name;
    double at;
    double share;
  };
  StabiliserFacts const& lens = facts.Stabiliser();
  if (lens.X().differences < kFewSamples) return std::nullopt;
  Extreme worst{"", 0, 0};
  auto const look = [&](char const* lower, char const* upper, AxisFacts const& axis) {
    if (IsStill(axis)) return;
    SpreadHistogram const& values = axis.values;
    double const atLowest = Share(values.CountNearLowest(kNearExtreme), values.Count());
    double const atHighest = Share(values.CountNearHighest(kNearExtreme), values.Count());
    if (atLowest > worst.share) worst = {lower, values.Lowest(), atLowest};
    if (atHighest > worst.share) worst = {upper, values.Highest(), atHighest};
  };
  look("the lower end of x", "the upper end of x", lens.X());
  look("the lower end of y", "the upper end of y", lens.Y());
  if (worst.share < kDwellShare) return std::nullopt;
  return SessionFinding{"end_stop",
                        fmt::format("the lens dwells at {}: {:.0f} % of the samples lie at {:.4g}", worst.name,
                                    100 * worst.share, worst.at),
                        "suspect an end stop or a clipped reading: the true shift may be larger than told",
                        {{"share", worst.share}, {"at", worst.at}},
                        {}};
}

// steps. From one sample to the next the lens moves by more than 20 times the median step and more than a tenth of the
// longer axis' range: no lens does that within an interval.
static constexpr double kStepFactor = 20;
static constexpr double kStepShare = 0.1;

std::optional<SessionFinding> Steps(SessionFacts const& facts) {
  StabiliserFacts const& lens = facts.Stabiliser();
  double const range = std::max(lens.X().values.Range(), lens.Y().values.Range());
  double const threshold = std::max(kStepFactor * lens.MedianStep(), kStepShare * range);
  bool const areStill = IsStill(lens.X()) && IsStill(lens.Y());
  if (areStill || lens.X().differences < kFewSamples || lens.LargestStep().size <= threshold) return std::nullopt;
  std::uint64_t const steps = std::max<std::uint64_t>(lens.CountStepsAbove(threshold), 1);
  FrameList frames;
  frames.Add(lens.LargestStep().frame);
  return SessionFinding{
      "steps",
      fmt::format("the lens jumps {}, by {:.3g} units at most (median step {:.3g}), within one sample interval",
                  Times(steps), lens.LargestStep().size, lens.MedianStep()),
      "look for resets of the stabiliser, or for samples of another sensor",
      {{"steps", static_cast<double>(steps)}, {"largest", lens.LargestStep().size}},
      frames};
}

}  // namespace shadingctl::rules
