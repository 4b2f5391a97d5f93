// Rules about a lens that does not move, or of which nothing is told.
#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "tools/shadingctl/findings/RuleWords.h"
#include "tools/shadingctl/findings/Rules.h"

namespace shadingctl::rules {

namespace {

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
    if (toNs > fromNs) sharedNs += DifferenceNs(toNs, fromNs);
  }
  return sharedNs;
}

// Stretches of an axis that lived before: those in which the other axis repeats as well, or those in which it moves.
std::vector<Interval> Lifeless(LensFacts const& lens, std::size_t axis, bool together) {
  Intervals intervals;
  for (FlatStretch const& stretch : lens.FlatStretches(axis)) {
    std::int64_t const lengthNs = DifferenceNs(stretch.interval.toNs, stretch.interval.fromNs);
    bool const isShared = 2 * SharedNs(stretch, lens.FlatStretches(1 - axis)) > lengthNs;
    if (stretch.hasLived && isShared == together) intervals.Add(stretch.interval);
  }
  return intervals.All();
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

}  // namespace shadingctl::rules
