#include "lsc/ois/WindowSpan.h"

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

// Where a sample within the tolerance of a time may first be. A sample is in or after a microsecond when it is at or
// after its first ns.
constexpr std::int64_t EarliestNs(std::int64_t targetUs) { return (targetUs - kTolerance + 1) * kNsPerUs; }

// Moves a candidate, the first entry from EarliestNs on, to the entry after it if that one is nearer. False when the
// candidate is not near or has no entry after it before the last `behind` samples of the history.
bool MoveToNearer(SampleCursor& candidate, std::size_t behind, std::int64_t targetUs) {
  if (candidate.following() <= behind) return false;
  std::int64_t const candidateUs = ToUs(candidate->timestamp);
  std::int64_t const distanceUs = std::abs(candidateUs - targetUs);
  if (distanceUs >= kTolerance) return false;

  SampleCursor next = candidate;
  std::int64_t nextUs = 0;
  do {
    if (next.following() <= behind + 1) return false;
    next.advance(1);
    nextUs = ToUs(next->timestamp);
  } while (nextUs == candidateUs);
  if (distanceUs > std::abs(nextUs - targetUs)) candidate = next;
  return true;
}

}  // namespace

std::optional<Readout> PlainReadout(FrameTimes const& times, std::int64_t offsetUs, bool mayBeCarried) {
  if (times.startOfFrameUs > kLatestPlainStartUs) return std::nullopt;
  return Readout{static_cast<std::int64_t>(times.startOfFrameUs) + offsetUs, times.shutterUs, mayBeCarried};
}

bool IsPlain(SampleWindow const& window) {
  return window.oldestNs() >= kNsPerUs && window.newestNs() <= kLatestPlainNs;
}

FoundSpan FindSpan(SampleWindow const& window, Readout const& readout) {
  std::size_t const behind = window.behind();
  SampleCursor start = window.atOrAfter(EarliestNs(readout.startUs));
  bool const startIsNear = MoveToNearer(start, behind, readout.startUs);
  if (!startIsNear) {
    start = window.first();
    if (!readout.mayBeCarried) return {{start, 0}, false};
  }
  std::int64_t const endUs = ToUs(start->timestamp) + readout.shutterUs;
  SampleCursor end = start;
  end.seek(EarliestNs(endUs));
  if (!MoveToNearer(end, behind, endUs)) return {{start, start.following() - behind}, startIsNear};
  return {{start, start.following() - end.following() + 1}, startIsNear};
}

}  // namespace lsc
