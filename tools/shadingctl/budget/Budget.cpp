#include "tools/shadingctl/budget/Budget.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "tools/shadingctl/frame/Frame.h"
#include "tools/shadingctl/statistics/Median.h"

namespace shadingctl {
namespace {

using hosting::kOffsetFactor;

// Constants of the library, signed, in ns.
constexpr std::int64_t kKeptFrames = hosting::kHistoryFrames;
constexpr std::int64_t kWindow = hosting::kWindowSize;
constexpr std::int64_t kBefore = hosting::kSamplesBefore;  // samples of the window before the timestamp
constexpr std::int64_t kOffsetConstantNs = hosting::kOffsetConstantUs * kMicrosecondNs;
constexpr std::int64_t kToleranceNs = hosting::kToleranceUs * kMicrosecondNs;

// The library truncates times to us and requires a distance below the tolerance: a sample may be up to 1499 us early,
// or late by less than 1500 us.
constexpr std::int64_t kEarliestNs = -(kToleranceNs - kMicrosecondNs);

constexpr double kSecondNs = 1e9;
constexpr std::int64_t kPhasesOfAMedian = 1000;
constexpr std::int64_t kMostLockedPhases = 12;       // more of them are as good as random
constexpr std::int64_t kSessionNs = 10'000'000'000;  // of a locked phase: in it, the drift is below ...
constexpr std::int64_t kDriftParts = 10;             // ... a tenth of a sample interval

std::int64_t FloorOf(std::int64_t dividend, std::int64_t divisor) {
  std::int64_t const quotient = dividend / divisor;
  return dividend % divisor < 0 ? quotient - 1 : quotient;
}
std::int64_t CeilingOf(std::int64_t dividend, std::int64_t divisor) { return -FloorOf(-dividend, divisor); }
std::int64_t Modulo(std::int64_t dividend, std::int64_t divisor) {
  return dividend - FloorOf(dividend, divisor) * divisor;
}

// The history at a phase: indices of its oldest and newest sample; index 0 is the first sample at or after the frame's
// timestamp.
struct History {
  std::int64_t oldest = 0;
  std::int64_t newest = 0;
  std::int64_t Count() const { return newest - oldest + 1; }

  // Where the window of 100 samples in it begins. Requires: Count() >= 100 and newest >= 0.
  std::int64_t WindowBegin() const { return std::min(std::max(oldest, -kBefore), newest - kWindow + 1); }
};

// The look-back: how long before the timestamp the samples at the start of the search interval are taken.
std::int64_t ReachBackNs(std::int64_t exposureNs, std::int64_t readoutNs) {
  std::int64_t const shorterUs = std::min(exposureNs, readoutNs) / kMicrosecondNs;
  auto const shareUs = static_cast<std::int64_t>(static_cast<double>(shorterUs) * kOffsetFactor);
  return exposureNs + shareUs * kMicrosecondNs + kOffsetConstantNs;
}

// Updates are one frame interval apart, and each delivers every sample taken until then.
History HistoryAt(Timing const& timing, std::int64_t phaseNs) {
  std::int64_t const newestNs = timing.readoutNs + timing.deliveryDelayNs;
  std::int64_t const beforeNs = newestNs - kKeptFrames * timing.frameIntervalNs;  // samples up to then have left
  return {FloorOf(beforeNs - phaseNs, timing.hallIntervalNs) + 1, FloorOf(newestNs - phaseNs, timing.hallIntervalNs)};
}

// The median over evenly spaced phases, of those that match.
std::optional<double> MedianCoverage(Timing const& timing) {
  std::vector<double> coverages;
  for (std::int64_t i = 0; i < kPhasesOfAMedian; ++i) {
    PhaseOutcome const outcome = OutcomeAt(timing, timing.hallIntervalNs * i / kPhasesOfAMedian);
    if (outcome.obstacle == Obstacle::kNone) coverages.push_back(outcome.coverage);
  }
  return Median(std::move(coverages));
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
        auto const at =
            std::find_if(ranges.begin(), ranges.end(), [&](PhaseRange const& one) { return phaseNs < one.endNs; });
        if (at->outcome.obstacle == Obstacle::kNone) ++matches;
      }
      double const share = static_cast<double>(matches) / static_cast<double>(*phases);
      lock.lowestMatch = std::min(lock.lowestMatch, share);
      lock.highestMatch = std::max(lock.highestMatch, share);
    }
  }
  return lock;
}

Limits LimitsOf(Timing const& timing, std::int64_t reachNs, std::optional<std::int64_t> windowBackNs) {
  Limits limits;
  if (windowBackNs && *windowBackNs + kToleranceNs > kOffsetConstantNs) {
    // ReachBackNs, solved for the exposure: where that is the shorter time, or where the readout is.
    auto const restNs = static_cast<double>(*windowBackNs + kToleranceNs - kOffsetConstantNs);
    auto const shortNs = static_cast<std::int64_t>(restNs / (1 + kOffsetFactor));
    auto const longNs = static_cast<std::int64_t>(restNs - kOffsetFactor * static_cast<double>(timing.readoutNs));
    limits.longestExposureNs = shortNs <= timing.readoutNs ? shortNs : longNs;
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

PhaseOutcome OutcomeAt(Timing const& timing, std::int64_t phaseNs) {
  std::int64_t const intervalNs = timing.hallIntervalNs;
  History const history = HistoryAt(timing, phaseNs);
  PhaseOutcome outcome;
  if (history.newest < 0) return {Obstacle::kNothingAfter};
  if (history.Count() < kWindow) return {Obstacle::kHistory};
  std::int64_t const begin = history.WindowBegin();

  // Time of a window entry since the start of the search interval.
  std::int64_t const entry0Ns = phaseNs + begin * intervalNs + ReachBackNs(timing.exposureNs, timing.readoutNs);
  auto const timeNs = [&](std::int64_t entry) { return entry0Ns + entry * intervalNs; };
  std::int64_t const last = kWindow - 1;

  std::int64_t const candidate = std::max<std::int64_t>(CeilingOf(kEarliestNs - entry0Ns, intervalNs), 0);
  if (candidate >= last || timeNs(candidate) >= kToleranceNs) {
    return {candidate == 0 ? Obstacle::kReach : Obstacle::kTolerance};
  }
  bool const nextIsNearer = std::abs(timeNs(candidate)) > std::abs(timeNs(candidate + 1));
  outcome.first = candidate + (nextIsNearer ? 1 : 0);

  // The last entry is near where its distance from the first one is near the readout time.
  std::int64_t const readoutNs = timing.readoutNs;
  std::int64_t const steps = std::max<std::int64_t>(FloorOf(readoutNs - kToleranceNs, intervalNs) + 1, 0);
  std::int64_t const end = outcome.first + steps;
  std::int64_t const offNs = steps * intervalNs - readoutNs;
  outcome.last = last;
  if (end < last && std::abs(offNs) < kToleranceNs) {
    outcome.last = end + (std::abs(offNs) > std::abs(offNs + intervalNs) ? 1 : 0);
  }
  if (outcome.last == outcome.first) outcome.obstacle = Obstacle::kSingle;
  outcome.endIsNear = std::abs((outcome.last - outcome.first) * intervalNs - readoutNs) < kToleranceNs;
  outcome.coverage = readoutNs == 0 ? 1 : CoverageOf(timeNs(outcome.first), timeNs(outcome.last), readoutNs);
  return outcome;
}

std::vector<PhaseRange> OutcomesOfAllPhases(Timing const& timing) {
  std::int64_t const intervalNs = timing.hallIntervalNs;
  std::int64_t const newestNs = timing.readoutNs + timing.deliveryDelayNs;
  std::int64_t const reachNs = ReachBackNs(timing.exposureNs, timing.readoutNs);
  std::vector<std::int64_t> begins = {
      0,
      Modulo(newestNs + 1, intervalNs),                                         // one sample less has come
      Modulo(newestNs - kKeptFrames * timing.frameIntervalNs + 1, intervalNs),  // one more is left
      Modulo(kEarliestNs - reachNs, intervalNs),                                // one becomes near the start
      Modulo(kToleranceNs - reachNs, intervalNs),                               // one ceases to be near
      Modulo(intervalNs / 2 - reachNs, intervalNs),                             // the next one becomes nearer
  };
  std::sort(begins.begin(), begins.end());
  begins.erase(std::unique(begins.begin(), begins.end()), begins.end());
  begins.push_back(intervalNs);
  std::vector<PhaseRange> ranges;
  for (std::size_t i = 0; i + 1 < begins.size(); ++i) {
    ranges.push_back({begins[i], begins[i + 1], OutcomeAt(timing, begins[i] + (begins[i + 1] - begins[i]) / 2)});
  }
  return ranges;
}

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
