#include "tools/shadingctl/budget/PhaseOutcome.h"

#include <algorithm>
#include <cstdlib>

namespace shadingctl {
namespace {

// The library truncates times to us and requires a distance below the tolerance: a sample may be up to 1499 us early,
// or late by less than 1500 us.
constexpr std::int64_t kEarliestNs = -(kToleranceNs - kMicrosecondNs);

std::int64_t FloorOf(std::int64_t dividend, std::int64_t divisor) {
  std::int64_t const quotient = dividend / divisor;
  return dividend % divisor < 0 ? quotient - 1 : quotient;
}
std::int64_t CeilingOf(std::int64_t dividend, std::int64_t divisor) { return -FloorOf(-dividend, divisor); }
std::int64_t Modulo(std::int64_t dividend, std::int64_t divisor) {
  return dividend - FloorOf(dividend, divisor) * divisor;
}

double Coverage(std::int64_t firstNs, std::int64_t lastNs, std::int64_t readoutNs) {
  if (readoutNs == 0) return 1;
  std::int64_t const zero = 0;
  return static_cast<double>(std::clamp(lastNs, zero, readoutNs) - std::clamp(firstNs, zero, readoutNs)) /
         static_cast<double>(readoutNs);
}

}  // namespace

std::int64_t ReachBackNs(std::int64_t exposureNs, std::int64_t readoutNs) {
  auto const shorterUs = static_cast<double>(std::min(exposureNs, readoutNs) / kMicrosecondNs);
  return exposureNs + static_cast<std::int64_t>(shorterUs * kOffsetFactor) * kMicrosecondNs + kOffsetConstantNs;
}

std::int64_t History::WindowBegin() const { return std::min(std::max(oldest, -kBefore), newest - kWindow + 1); }

// Updates are one frame interval apart, and each delivers every sample taken until then.
History HistoryAt(Timing const& timing, std::int64_t phaseNs) {
  std::int64_t const newestNs = timing.readoutNs + timing.deliveryDelayNs;
  std::int64_t const beforeNs = newestNs - kKeptFrames * timing.frameIntervalNs;  // the last one that has left
  return {FloorOf(beforeNs - phaseNs, timing.hallIntervalNs) + 1, FloorOf(newestNs - phaseNs, timing.hallIntervalNs)};
}

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
  if (end < last && std::abs(offNs) < kToleranceNs) {
    outcome.last = end + (std::abs(offNs) > std::abs(offNs + intervalNs) ? 1 : 0);
  } else {
    outcome.last = last;
  }
  if (outcome.last == outcome.first) outcome.obstacle = Obstacle::kSingle;
  outcome.endIsNear = std::abs((outcome.last - outcome.first) * intervalNs - readoutNs) < kToleranceNs;
  outcome.coverage = Coverage(timeNs(outcome.first), timeNs(outcome.last), readoutNs);
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
  std::vector<PhaseRange> ranges;
  for (std::size_t i = 0; i < begins.size(); ++i) {
    std::int64_t const endNs = i + 1 < begins.size() ? begins[i + 1] : intervalNs;
    ranges.push_back({begins[i], endNs, OutcomeAt(timing, begins[i] + (endNs - begins[i]) / 2)});
  }
  return ranges;
}

}  // namespace shadingctl
