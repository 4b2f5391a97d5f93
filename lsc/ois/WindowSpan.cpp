#include "lsc/ois/WindowSpan.h"

#include <algorithm>
#include <cstdlib>

#include "lsc/TimeUnits.h"
#include "lsc/ois/ReadoutSpan.h"

namespace lsc {
namespace {

// Up to here times can be computed with without leaving the range of 64 bits; a start of frame must leave room for the
// sample that matches it.
constexpr std::int64_t kLatestPlainNs = std::int64_t{1} << 62;
constexpr auto kLatestPlainStartUs = static_cast<std::uint64_t>(ToUs(kLatestPlainNs / 2));

constexpr auto kTolerance = static_cast<std::int64_t>(kToleranceUs);

// The first candidate from index `first` on within the tolerance of `targetUs`, a time before the alignment, or the one
// after it, whichever is nearer; nullopt when there is no such candidate. Times are searched in ns: a sample is in or
// after a microsecond when it is at or after its first ns.
std::optional<int> FindNear(HallWindow const& window, int first, std::int64_t targetUs) {
  auto const distanceUs = [&](int i) { return std::abs(ToUs(window.timesNs()[i]) - targetUs); };
  std::int64_t const* const begin = window.timesNs();
  std::int64_t const earliestNs = (targetUs - kTolerance + 1) * kNsPerUs;
  auto const candidate = static_cast<int>(std::lower_bound(begin + first, begin + window.held(), earliestNs) - begin);
  if (candidate + 1 >= window.held() || distanceUs(candidate) >= kTolerance) return std::nullopt;
  return distanceUs(candidate) > distanceUs(candidate + 1) ? candidate + 1 : candidate;
}

}  // namespace

HallWindow WindowFor(FrameTimes const& times, std::int64_t offsetUs) {
  if (times.startOfFrameUs > kLatestPlainStartUs) return HallWindow();
  std::int64_t const startUs = static_cast<std::int64_t>(times.startOfFrameUs) + offsetUs;
  std::int64_t const fromNs = (startUs - kTolerance + 1) * kNsPerUs;
  return fromNs > 0 ? HallWindow(fromNs, (startUs + kTolerance) * kNsPerUs) : HallWindow();
}

bool IsPlain(HallWindow const& window, FrameTimes const& times) {
  return window.timesNs()[0] >= kNsPerUs && window.timesNs()[0] <= kLatestPlainNs &&
         times.startOfFrameUs <= kLatestPlainStartUs;
}

std::optional<int> FindStartInWindow(HallWindow const& window, std::uint64_t startOfFrameUs, std::int64_t offsetUs) {
  return FindNear(window, 0, static_cast<std::int64_t>(startOfFrameUs) + offsetUs);
}

int FindEndInWindow(HallWindow const& window, int startIndex, std::uint32_t shutterUs) {
  std::int64_t const targetUs = ToUs(window.timesNs()[startIndex]) + shutterUs;
  return FindNear(window, startIndex, targetUs).value_or(window.held() - 1);
}

}  // namespace lsc
