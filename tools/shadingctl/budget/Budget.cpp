#include "tools/shadingctl/budget/Budget.h"

#include <algorithm>
#include <utility>

#include "tools/shadingctl/statistics/Median.h"

namespace shadingctl {
namespace {

constexpr double kSecondNs = 1e9;
constexpr std::int64_t kPhasesOfAMedian = 1000;
constexpr std::int64_t kMostLockedPhases = 12;       // more of them are as good as random
constexpr std::int64_t kSessionNs = 10'000'000'000;  // of a locked phase: in it, the drift is below ...
constexpr std::int64_t kDriftParts = 10;             // ... a tenth of a sample interval

// The median over evenly spaced phases, of those that match.
std::optional<double> MedianCoverage(Timing const& timing) {
  std::vector<double> coverages;
  for (std::int64_t i = 0; i < kPhasesOfAMedian; ++i) {
    PhaseOutcome const outcome = OutcomeAt(timing, timing.hallIntervalNs * i / kPhasesOfAMedian);
    if (outcome.obstacle == Obstacle::kNone) coverages.push_back(outcome.coverage);
  }
  return Median(std::move(coverages));
}

Obstacle ObstacleAt(std::vector<PhaseRange> const& ranges, std::int64_t phaseNs) {
  auto const after = std::upper_bound(ranges.begin(), ranges.end(), phaseNs,
                                      [](std::int64_t ns, PhaseRange const& range) { return ns < range.beginNs; });
  return std::prev(after)->outcome.obstacle;
}

// Frames until the phase repeats, up to a drift that is negligible during a session.
std::optional<std::int64_t> LockedPhases(Timing const& timing) {
  for (std::int64_t frames = 1; frames <= kMostLockedPhases; ++frames) {
    std::int64_t const spanNs = frames * timing.frameIntervalNs;
    std::int64_t const restNs = spanNs % timing.hallIntervalNs;
    std::int64_t const driftNs = std::min(restNs, timing.hallIntervalNs - restNs);
    if (driftNs * std::max<std::int64_t>(kSessionNs / spanNs, 1) < timing.hallIntervalNs / kDriftParts) return frames;
  }
  return std::nullopt;
}

// The set of matching frames changes where one of the phases enters another range.
std::optional<Lock> LockOf(Timing const& timing, std::vector<PhaseRange> const& ranges) {
  auto const phases = LockedPhases(timing);
  if (!phases) return std::nullopt;
  Lock lock{*phases, 1, 0};
  std::int64_t const stepNs = timing.hallIntervalNs / *phases;
  for (PhaseRange const& range : ranges) {
    for (std::int64_t const edgeNs : {range.beginNs, range.endNs - 1}) {
      std::int64_t matches = 0;
      for (std::int64_t i = 0; i < *phases; ++i) {
        std::int64_t const phaseNs = (edgeNs + i * stepNs) % timing.hallIntervalNs;
        if (ObstacleAt(ranges, phaseNs) == Obstacle::kNone) ++matches;
      }
      double const share = static_cast<double>(matches) / static_cast<double>(*phases);
      lock.lowestMatch = std::min(lock.lowestMatch, share);
      lock.highestMatch = std::max(lock.highestMatch, share);
    }
  }
  return lock;
}

// The exposure with that look-back.
std::int64_t ExposureOfReachNs(std::int64_t reachNs, std::int64_t readoutNs) {
  auto const restNs = static_cast<double>(reachNs - kOffsetConstantNs);
  auto const shortNs = static_cast<std::int64_t>(restNs / (1 + kOffsetFactor));
  if (shortNs <= readoutNs) return shortNs;
  return static_cast<std::int64_t>(restNs - kOffsetFactor * static_cast<double>(readoutNs));
}

Limits LimitsOf(Timing const& timing, std::int64_t reachNs, std::optional<std::int64_t> windowBackNs) {
  Limits limits;
  if (windowBackNs && *windowBackNs + kToleranceNs > kOffsetConstantNs) {
    limits.longestExposureNs = ExposureOfReachNs(*windowBackNs + kToleranceNs, timing.readoutNs);
  }
  limits.lowestToleranceHz = kSecondNs / static_cast<double>(2 * kToleranceNs - kMicrosecondNs);
  limits.lowestHistoryHz =
      kSecondNs * static_cast<double>(kWindow) / static_cast<double>(kKeptFrames * timing.frameIntervalNs);
  if (timing.readoutNs > 0 && timing.readoutNs < kToleranceNs) {
    limits.lowestSpanHz = kSecondNs / static_cast<double>(2 * timing.readoutNs);
  }
  // The window begins 50 samples back and, where fewer than 49 have come after the timestamp, 99 before the newest.
  std::int64_t const neededNs = reachNs - kToleranceNs;
  if (neededNs > 0) {
    limits.highestStartHz =
        kSecondNs * std::max(static_cast<double>(kBefore - 1) / static_cast<double>(neededNs),
                             static_cast<double>(kWindow - 1) /
                                 static_cast<double>(neededNs + timing.readoutNs + timing.deliveryDelayNs));
  }
  std::int64_t const aheadNs = timing.readoutNs - reachNs;
  if (aheadNs > 0) {
    limits.highestEndHz = kSecondNs * static_cast<double>(kWindow - kBefore - 1) / static_cast<double>(aheadNs);
  }
  return limits;
}

}  // namespace

Budget MakeBudget(Timing const& timing) {
  Budget budget;
  budget.timing = timing;
  budget.reachBackNs = ReachBackNs(timing.exposureNs, timing.readoutNs);
  std::vector<PhaseRange> const ranges = OutcomesOfAllPhases(timing);
  budget.fewestSamples = HistoryAt(timing, ranges.front().beginNs).Count();
  std::array<std::int64_t, kObstacleCount> obstaclesNs{};
  std::int64_t bothEndsNearNs = 0;
  bool hasWindow = true;
  for (PhaseRange const& range : ranges) {
    PhaseOutcome const& outcome = range.outcome;
    std::int64_t const lengthNs = range.endNs - range.beginNs;
    obstaclesNs[static_cast<std::size_t>(outcome.obstacle)] += lengthNs;
    if (outcome.obstacle == Obstacle::kNone) {
      if (outcome.endIsNear) bothEndsNearNs += lengthNs;
      for (std::int64_t const phaseNs : {range.beginNs, range.endNs - 1}) {  // the coverage has no minimum in between
        double const coverage = OutcomeAt(timing, phaseNs).coverage;
        budget.worstCoverage = std::min(budget.worstCoverage.value_or(1), coverage);
      }
    }
    History const history = HistoryAt(timing, range.beginNs);
    budget.fewestSamples = std::min(budget.fewestSamples, history.Count());
    hasWindow = hasWindow && history.Count() >= kWindow && history.newest >= 0;
    if (!hasWindow) continue;
    std::int64_t const begin = history.WindowBegin();
    std::int64_t const backNs = -begin * timing.hallIntervalNs - range.endNs;
    std::int64_t const aheadNs = (begin + kWindow - 1) * timing.hallIntervalNs + range.beginNs;
    budget.windowBackNs = std::min(budget.windowBackNs.value_or(INT64_MAX), backNs);
    budget.windowAheadNs = std::min(budget.windowAheadNs.value_or(INT64_MAX), aheadNs);
  }
  auto const intervalNs = static_cast<double>(timing.hallIntervalNs);
  for (std::size_t i = 0; i < kObstacleCount; ++i) budget.shares[i] = static_cast<double>(obstaclesNs[i]) / intervalNs;
  budget.bothEndsNear = static_cast<double>(bothEndsNearNs) / intervalNs;
  budget.medianCoverage = MedianCoverage(timing);
  budget.lock = LockOf(timing, ranges);
  if (!hasWindow) budget.windowBackNs = budget.windowAheadNs = std::nullopt;
  budget.limits = LimitsOf(timing, budget.reachBackNs, budget.windowBackNs);
  return budget;
}

}  // namespace shadingctl
