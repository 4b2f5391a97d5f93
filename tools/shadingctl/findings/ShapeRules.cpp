// Rules about a lens that moves as none does.
#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "tools/shadingctl/findings/RuleWords.h"
#include "tools/shadingctl/findings/Rules.h"

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

struct Dwelling {
  std::size_t axis = 0;
  bool isUpper = false;
  double at = 0;
  double share = 0;
};

Dwelling DwellingAt(LensFacts::Axis const& axis, bool isUpper) {
  double const band = std::max({kBandNoises * axis.noise, kBandShare * axis.range, kBandGrains * axis.grain});
  double const at = axis.At(isUpper ? 1 - kExtreme : kExtreme);
  auto const countIn = [&](double from, double to) {
    auto const first = std::lower_bound(axis.positions.begin(), axis.positions.end(), from);
    return static_cast<std::uint64_t>(std::lower_bound(first, axis.positions.end(), to) - first);
  };
  std::uint64_t const inBand = countIn(at - band, at + band);
  std::uint64_t const inNext = isUpper ? countIn(at - 3 * band, at - band) : countIn(at + band, at + 3 * band);
  bool const dwells = static_cast<double>(inBand) >= kDwellFactor * static_cast<double>(inNext);
  return {0, isUpper, at, dwells ? Share(inBand, axis.positions.size()) : 0};
}

}  // namespace

// end_stop. See the constants. Over the session, as a slow lens dwells at its turning points for half a second. Silent
// where noise or grain hide the shape. A note: a lens at a mechanical stop is where it says, and a square wave looks
// alike.
std::optional<SessionFinding> EndStop(SessionFacts const& facts) {
  Dwelling worst;
  for (std::size_t number = 0; number < 2; ++number) {
    LensFacts::Axis const axis = facts.Lens().AxisOf(number);
    bool const isHidden = kBandNoises * axis.noise > axis.range / 10 || axis.range < kFewGrains * axis.grain;
    if (facts.Lens().Windows().empty() || axis.range == 0 || isHidden) continue;
    for (bool const isUpper : {false, true}) {
      Dwelling found = DwellingAt(axis, isUpper);
      found.axis = number;
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
  std::sort(places.begin(), places.end(),
            [](Interval const& one, Interval const& other) { return one.fromNs < other.fromNs; });
  Intervals intervals;
  for (Interval const& place : places) intervals.Add(place);
  return SessionFinding{
      fmt::format(
          "the lens jumps within one sample interval, by {:.3g} units at most of an axis that ranges over {:.3g}",
          largest, rangeOfLargest),
      "look for resets of the stabiliser, broken readings, or samples of another sensor",
      {{"largest", largest}, {"range", rangeOfLargest}},
      {},
      intervals.All()};
}

// held. A window with positions that are new only every few samples (LensWindow.cpp). `wrong` where the true interval
// exceeds the width in which a start is near a sample; below that no frame loses anything.
std::optional<SessionFinding> Held(SessionFacts const& facts) {
  Intervals intervals;
  std::uint32_t heldFor = 0;
  std::int64_t intervalNs = 0;
  for (LensWindow const& window : facts.Lens().Windows()) {
    if (window.heldFor < 2) continue;
    intervals.Add(window.interval);
    if (window.heldFor <= heldFor) continue;
    heldFor = window.heldFor;
    intervalNs = window.usualIntervalNs;
  }
  if (intervals.IsEmpty()) return std::nullopt;
  double const trueUs = static_cast<double>(intervalNs) / 1e3 * heldFor;
  return SessionFinding{
      fmt::format("positions are new only every {} samples: the true rate is {:.0f} Hz, not {:.0f} Hz", heldFor,
                  kUsInS / trueUs, kUsInS / trueUs * heldFor),
      trueUs > kNearWidthUs
          ? fmt::format("have the sensor measure at {:.0f} Hz or more", std::ceil(kUsInS / kNearWidthUs))
          : "reckon with the true rate",
      {{"samples", heldFor}, {"rate_hz", kUsInS / trueUs}},
      {},
      intervals.All(),
      trueUs > kNearWidthUs ? Severity::kWrong : Severity::kNote};
}

}  // namespace shadingctl::rules
