#include "lsc/ois/ReadoutMatch.h"

#include <algorithm>
#include <limits>

#include "lsc/base/TimeUnits.h"

namespace lsc {
namespace {

// Clamped: beyond 2^61 us no entry is near, as a 64-bit time in ns is less than 2^54 us from 0 and an aligned time only
// seconds more; nothing overflows there.
constexpr std::int64_t kUnreachableUs = std::int64_t{1} << 61;

// Aligned times near a target, both ends included; never on both sides of 0.
struct Interval {
  std::int64_t firstUs;
  std::int64_t lastUs;
};

Interval NearTimes(std::uint64_t targetUs, std::int64_t leastUs) {
  std::int64_t const target = std::clamp(static_cast<std::int64_t>(targetUs), -kUnreachableUs, kUnreachableUs);
  std::int64_t const firstUs = target - (kToleranceUs - 1);
  std::int64_t const lastUs = target + (kToleranceUs - 1);
  if (target < 0) return {firstUs, std::min<std::int64_t>(lastUs, -1)};
  return {std::max(firstUs, leastUs), lastUs};
}

// The first ns that is truncated to this microsecond or a later one; saturated where 64 bits do not hold it.
constexpr std::int64_t FirstNsOf(std::int64_t timeUs) {
  constexpr std::int64_t kLastUs = ToUs(std::numeric_limits<std::int64_t>::max());
  if (timeUs > kLastUs) return std::numeric_limits<std::int64_t>::max();
  if (timeUs <= -kLastUs) return std::numeric_limits<std::int64_t>::min();
  return timeUs > 0 ? timeUs * kNsPerUs : timeUs * kNsPerUs - (kNsPerUs - 1);
}

// Entries of one window.
class Entries {
 public:
  Entries(SampleRange const& window, std::int64_t offsetUs) : mWindow(window), mOffsetUs(offsetUs) {}

  std::int64_t alignedUs(SampleCursor const& entry) const { return ToUs(entry->timestamp) - mOffsetUs; }

  bool contains(SampleCursor const& position) const { return mWindow.remainingFrom(position) > 0; }

  // The first entry, or past the end.
  SampleCursor first() const { return skipLeadingZero(mWindow.first()); }

  // The first entry at or after an aligned time, or past the end.
  SampleCursor lowerBound(std::int64_t timeUs) const { return skipLeadingZero(mWindow.lowerBound(firstNsOf(timeUs))); }

  // The earliest sample time of an entry at or after an aligned time.
  std::int64_t firstNsOf(std::int64_t timeUs) const { return FirstNsOf(timeUs + mOffsetUs); }

  // Moves `position`, the candidate, to its successor if that is closer to the target. nullopt if the candidate is past
  // the end, outside the tolerance or the last entry. Returned as a value, the position would cost 50 instructions.
  std::optional<NearEntry> chooseNearer(SampleCursor& position, Interval near, std::uint64_t targetUs) const {
    if (!contains(position)) return std::nullopt;
    std::int64_t const candidateUs = alignedUs(position);
    if (candidateUs < near.firstUs || candidateUs > near.lastUs) return std::nullopt;

    std::uint32_t const candidate = mWindow.indexOf(position);
    SampleCursor next = position;
    do {
      if (mWindow.remainingFrom(next) <= 1) return std::nullopt;
      next.advance(1);
    } while (alignedUs(next) == candidateUs);
    if (DistanceUs(candidateUs, targetUs) > DistanceUs(alignedUs(next), targetUs)) position = next;
    return NearEntry{candidate, mWindow.indexOf(position)};
  }

 private:
  SampleCursor skipLeadingZero(SampleCursor position) const {
    bool const isLeading = contains(position) && mWindow.indexOf(position) == 0;
    if (isLeading && ToUs(position->timestamp) == 0) position.advanceTo(FirstNsOf(1));
    return position;
  }

  SampleRange const& mWindow;
  std::int64_t mOffsetUs;
};

}  // namespace

ReadoutMatch MatchReadout(SampleRange const& window, SearchInterval const& interval, bool fallBackToOldest) {
  Entries const entries(window, interval.offsetUs);
  ReadoutMatch match;

  Interval const nearStart = NearTimes(interval.startOfFrameUs, 1);
  match.spanFirst = entries.lowerBound(nearStart.firstUs);
  match.start = entries.chooseNearer(match.spanFirst, nearStart, interval.startOfFrameUs);
  if (!match.start) {
    if (!fallBackToOldest) return match;
    match.spanFirst = entries.first();
    if (!entries.contains(match.spanFirst)) return match;
  }

  std::uint64_t const endUs = static_cast<std::uint64_t>(entries.alignedUs(match.spanFirst)) + interval.readoutUs;
  Interval const nearEnd = NearTimes(endUs, 0);
  SampleCursor last = match.spanFirst;
  last.advanceTo(entries.firstNsOf(nearEnd.firstUs));
  match.end = entries.chooseNearer(last, nearEnd, endUs);
  std::size_t const behind = match.end ? window.remainingFrom(last) - 1 : 0;
  match.spanSize = window.remainingFrom(match.spanFirst) - behind;
  return match;
}

}  // namespace lsc
