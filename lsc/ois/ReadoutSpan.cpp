#include "lsc/ois/ReadoutSpan.h"

#include <algorithm>
#include <cstdlib>

namespace lsc {

std::optional<StartMatch> FindStart(HallTable const& table, std::uint64_t startOfFrameUs) {
  for (int i = 0; i + 1 < table.count; ++i) {
    if (table.alignedUs[i] == 0) continue;
    std::uint64_t const distanceUs = DistanceUs(table.alignedUs[i], startOfFrameUs);
    if (distanceUs >= kToleranceUs) continue;

    std::uint64_t const nextDistanceUs = DistanceUs(table.alignedUs[i + 1], startOfFrameUs);
    return StartMatch{i, distanceUs, nextDistanceUs, distanceUs > nextDistanceUs ? i + 1 : i};
  }
  return std::nullopt;
}

std::uint64_t EndTargetUs(HallTable const& table, int startIndex, std::uint32_t shutterUs) {
  return static_cast<std::uint64_t>(table.alignedUs[startIndex]) + shutterUs;
}

std::optional<EndMatch> FindEnd(HallTable const& table, int startIndex, std::uint64_t targetUs) {
  for (int i = startIndex; i + 1 < table.count; ++i) {
    std::uint64_t const distanceUs = DistanceUs(table.alignedUs[i], targetUs);
    if (distanceUs >= kToleranceUs) continue;

    bool const nextIsNearer = distanceUs > DistanceUs(table.alignedUs[i + 1], targetUs);
    return EndMatch{i, nextIsNearer ? i + 1 : i};
  }
  return std::nullopt;
}

namespace {

constexpr int kLastIndex = static_cast<int>(kWindowSize) - 1;

// Up to here times in ns can be computed with without leaving the range of 64 bits.
constexpr std::uint64_t kLatestPlainNs = std::uint64_t{1} << 62;

// The first sample from index `first` on that is in or after the microsecond `timeUs`; kWindowSize when there is none.
int FirstFrom(HallWindow const& window, int first, std::int64_t timeUs) {
  auto const* const timesNs = window.timesNs();
  return static_cast<int>(std::lower_bound(timesNs + first, timesNs + kWindowSize, timeUs * kNsPerUs) - timesNs);
}

// The first candidate within the tolerance of `targetUs`, a time before the alignment, or the one after it, whichever
// is nearer; nullopt when there is no such candidate.
std::optional<int> FindNear(HallWindow const& window, int first, std::int64_t targetUs) {
  auto const distanceUs = [&](int i) { return std::abs(ToUs(window.timesNs()[i]) - targetUs); };
  constexpr auto kTolerance = static_cast<std::int64_t>(kToleranceUs);
  int const candidate = FirstFrom(window, first, targetUs - kTolerance + 1);
  if (candidate >= kLastIndex || distanceUs(candidate) >= kTolerance) return std::nullopt;
  return distanceUs(candidate) > distanceUs(candidate + 1) ? candidate + 1 : candidate;
}

}  // namespace

bool IsPlain(HallWindow const& window, FrameTimes const& times) {
  return window.size() == kWindowSize && window.timesNs()[0] >= kNsPerUs && window.everyGapIsAtLeast(kNsPerUs) &&
         static_cast<std::uint64_t>(window.timesNs()[kLastIndex]) <= kLatestPlainNs &&
         times.startOfFrameUs <= ToUs(kLatestPlainNs);
}

std::optional<int> FindStart(HallWindow const& window, std::uint64_t startOfFrameUs, std::int64_t offsetUs) {
  return FindNear(window, 0, static_cast<std::int64_t>(startOfFrameUs) + offsetUs);
}

int FindEnd(HallWindow const& window, int startIndex, std::uint32_t shutterUs) {
  std::int64_t const targetUs = ToUs(window.timesNs()[startIndex]) + shutterUs;
  return FindNear(window, startIndex, targetUs).value_or(kLastIndex);
}

}  // namespace lsc
