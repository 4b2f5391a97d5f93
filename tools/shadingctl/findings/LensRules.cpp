// Rules about a lens that does not move, or moves as none does.
#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "tools/shadingctl/findings/Rules.h"
#include "tools/shadingctl/statistics/Median.h"

namespace shadingctl::rules {
namespace {

constexpr double kExtreme = 0.01;     // share of the positions beyond what counts as an extreme: spikes
constexpr double kBandNoises = 6;     // half the width of a band
constexpr double kBandShare = 0.005;  // of the central range
constexpr double kBandGrains = 1.5;
constexpr double kDwellShare = 0.03;  // in the band at an extreme; a pure swing has 4.6 %,
constexpr double kDwellFactor = 8;    // and 2.4 times as many as in the next band; stops gave 13 to 86
constexpr double kFewGrains = 8;      // in the range
constexpr double kStepShare = 0.3;    // of the central range: faults gave 0.36 to 9.5, healthy motion up to 0.18
constexpr double kStepFactor = 10;    // of the 90th percentile of the steps
constexpr double kStepGrains = 2.5;

using Axes = std::array<LensFacts::Axis, 2>;

Axes AxesOf(SessionFacts const& facts) { return {facts.Lens().AxisOf(0), facts.Lens().AxisOf(1)}; }

std::vector<std::pair<std::string, double>> RangesOf(Axes const& axes) {
  return {{"range_x", axes[0].range}, {"range_y", axes[1].range}};
}

// Of a stretch of one axis, those parts in which the other one repeats too.
std::int64_t SharedNs(FlatStretch const& stretch, std::vector<FlatStretch> const& others) {
  std::int64_t sharedNs = 0;
  for (FlatStretch const& other : others) {
    std::int64_t const fromNs = std::max(stretch.interval.fromNs, other.interval.fromNs);
    std::int64_t const toNs = std::min(stretch.interval.toNs, other.interval.toNs);
    if (toNs > fromNs) sharedNs += TimeDifference(toNs, fromNs);
  }
  return sharedNs;
}

// Stretches of an axis that lived before: those in which the other axis repeats as well, or those in which it moves.
std::vector<Interval> Lifeless(LensFacts const& lens, std::size_t axis, bool together) {
  std::vector<Interval> intervals;
  for (FlatStretch const& stretch : lens.FlatStretches(axis)) {
    bool const isShared = 2 * SharedNs(stretch, lens.FlatStretches(1 - axis)) > stretch.interval.LengthNs();
    if (stretch.hasLived && isShared == together) AddTo(intervals, stretch.interval);
  }
  return intervals;
}

struct Dwelling {
  std::size_t axis = 0;
  bool isUpper = false;
  double at = 0;
  double share = 0;
};

Dwelling DwellingAt(Axes const& axes, std::size_t number, bool isUpper) {
  LensFacts::Axis const& axis = axes[number];
  double const band = std::max({kBandNoises * axis.noise, kBandShare * axis.range, kBandGrains * axis.grain});
  double const at = AtShare(axis.positions, isUpper ? 1 - kExtreme : kExtreme);
  auto const countIn = [&](double from, double to) {
    auto const first = std::lower_bound(axis.positions.begin(), axis.positions.end(), from);
    return static_cast<std::uint64_t>(std::lower_bound(first, axis.positions.end(), to) - first);
  };
  std::uint64_t const inBand = countIn(at - band, at + band);
  std::uint64_t const inNext = isUpper ? countIn(at - 3 * band, at - band) : countIn(at + band, at + 3 * band);
  bool const dwells = static_cast<double>(inBand) >= kDwellFactor * static_cast<double>(inNext);
  return {number, isUpper, at, dwells ? Share(inBand, axis.positions.size()) : 0};
}

}  // namespace

// still. `wrong`: for a window or longer both axes repeat their positions exactly, after they lived: no resting lens
// does that, as its readings have noise. A note: all windows hold noise alone, or nothing ever changed. The spread of
// ten block medians over that of noise was at most 1.9 without motion, and at least 15 on a tripod.
std::optional<SessionFinding> Still(SessionFacts const& facts) {
  LensFacts const& lens = facts.Lens();
  Axes const axes = AxesOf(facts);
  std::vector<Interval> const frozen = Lifeless(lens, 0, true);
  if (!frozen.empty()) {
    return SessionFinding{"both axes repeat their positions exactly, which moved before",
                          "look for a stabiliser that was reset or locked, or a provider that repeats its last sample",
                          RangesOf(axes),
                          {},
                          frozen};
  }
  if (!axes[0].isStill || !axes[1].isStill) return std::nullopt;
  return SessionFinding{
      fmt::format(
          "the lens does not move: 90 % of its positions lie within {:.3g} units in x and {:.3g} in y; a motion "
          "below twice the noise does not show, and filtered noise looks like motion",
          axes[0].range, axes[1].range),
      "see whether the stabiliser is off or locked, on a tripod for example",
      RangesOf(axes),
      {},
      {},
      Severity::kNote};
}

// dead_axis. An axis repeats exactly for a window after it lived, or has noise alone in all windows, while the other
// one moves. Where both do so in turn, somebody drives one after the other.
std::optional<SessionFinding> DeadAxis(SessionFacts const& facts) {
  LensFacts const& lens = facts.Lens();
  Axes const axes = AxesOf(facts);
  if (axes[0].isStill && axes[1].isStill) return std::nullopt;
  std::array<std::vector<Interval>, 2> const dead = {Lifeless(lens, 0, false), Lifeless(lens, 1, false)};
  bool const inTurn = !dead[0].empty() && !dead[1].empty();
  for (std::size_t axis = 0; axis < 2; ++axis) {
    if (dead[axis].empty() && !axes[axis].isStill) continue;
    return SessionFinding{fmt::format("the {} axis {} while the other one moves{}", axis == 0 ? "x" : "y",
                                      dead[axis].empty() ? "holds noise alone" : "repeats its position exactly",
                                      inTurn ? ", and the other way round: they may be driven in turn" : ""),
                          "check that channel of the hall sensor and its wiring in the provider",
                          RangesOf(axes),
                          {},
                          dead[axis],
                          inTurn ? std::optional(Severity::kNote) : std::nullopt};
  }
  return std::nullopt;
}

// end_stop. See the constants. Over the session, as a slow lens dwells at its turning points for half a second. Silent
// where noise or grain hide the shape. A note: a lens at a mechanical stop is where it says, and a square wave looks
// alike.
std::optional<SessionFinding> EndStop(SessionFacts const& facts) {
  Dwelling worst;
  Axes const axes = AxesOf(facts);
  for (std::size_t number = 0; number < 2; ++number) {
    LensFacts::Axis const& axis = axes[number];
    bool const isHidden = kBandNoises * axis.noise > axis.range / 10 || axis.range < kFewGrains * axis.grain;
    if (facts.Lens().Windows().empty() || axis.range == 0 || isHidden) continue;
    for (bool const isUpper : {false, true}) {
      Dwelling const found = DwellingAt(axes, number, isUpper);
      if (found.share > worst.share) worst = found;
    }
  }
  if (worst.share < kDwellShare) return std::nullopt;
  return SessionFinding{
      fmt::format("the lens dwells at the {} end of {}: {:.0f} % of the samples lie at {:.4g}; a square "
                  "wave looks the same",
                  worst.isUpper ? "upper" : "lower", worst.axis == 0 ? "x" : "y", 100 * worst.share, worst.at),
      "suspect an end stop or a clipped reading: the true shift may be larger than told",
      {{"share", worst.share}, {"at", worst.at}}};
}

// steps. See the constants. Not across gaps; ranges and steps of the window itself count too, so that a tripod before a
// hand fires nothing.
std::optional<SessionFinding> Steps(SessionFacts const& facts) {
  LensFacts const& lens = facts.Lens();
  std::vector<Interval> places;
  double largest = 0;
  double rangeOfLargest = 0;
  for (std::size_t number = 0; number < 2; ++number) {
    LensFacts::Axis const axis = lens.AxisOf(number);
    if (axis.isStill) continue;
    double range = axis.range;
    double usual = axis.steps.empty() ? 0 : axis.steps[axis.steps.size() * 9 / 10];
    for (LensWindow const& window : lens.Windows()) range = std::max(range, window.axes[number].range);
    for (LensWindow const& window : lens.Windows()) {
      AxisWindow const& moved = window.axes[number];
      double const least =
          std::max({kStepShare * range, kStepFactor * std::max(usual, moved.usualStep), kStepGrains * axis.grain});
      if (moved.largestStep <= least) continue;
      places.push_back(moved.largestAt);
      if (moved.largestStep > largest) largest = moved.largestStep, rangeOfLargest = range;
    }
  }
  if (places.empty()) return std::nullopt;
  return SessionFinding{
      fmt::format(
          "the lens jumps within one sample interval, by {:.3g} units at most of an axis that ranges over {:.3g}",
          largest, rangeOfLargest),
      "look for resets of the stabiliser, broken readings, or samples of another sensor",
      {{"largest", largest}, {"range", rangeOfLargest}},
      {},
      Joined(std::move(places))};
}

// held. A window with positions that are new only every few samples (HeldFor in LensFacts.cpp). `wrong` where the true
// interval exceeds the width in which a start is near a sample; below that no frame loses anything.
std::optional<SessionFinding> Held(SessionFacts const& facts) {
  std::vector<Interval> intervals;
  std::uint32_t heldFor = 0;
  std::int64_t intervalNs = 0;
  for (LensWindow const& window : facts.Lens().Windows()) {
    if (window.heldFor < 2) continue;
    AddTo(intervals, window.interval);
    if (window.heldFor <= heldFor) continue;
    heldFor = window.heldFor;
    intervalNs = window.usualIntervalNs;
  }
  if (intervals.empty()) return std::nullopt;
  double const trueUs = static_cast<double>(intervalNs) / 1e3 * heldFor;
  return SessionFinding{
      fmt::format("positions are new only every {} samples: the true rate is {:.0f} Hz, not {:.0f} Hz", heldFor,
                  kUsInS / trueUs, kUsInS / trueUs * heldFor),
      trueUs > kNearWidthUs
          ? fmt::format("have the sensor measure at {:.0f} Hz or more", std::ceil(kUsInS / kNearWidthUs))
          : "reckon with the true rate",
      {{"samples", heldFor}, {"rate_hz", kUsInS / trueUs}},
      {},
      intervals,
      trueUs > kNearWidthUs ? Severity::kWrong : Severity::kNote};
}

}  // namespace shadingctl::rules
