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

std::int64_t DistanceUs(SampleCursor const& entry, std::int64_t targetUs) {
  return std::abs(ToUs(entry->timestamp) - targetUs);
}

// The candidate, which is the first entry from EarliestNs on, or the one after it, whichever is nearer; nullopt when it
// is not near or has no entry after it in the window.
std::optional<SampleCursor> NearerOf(SampleWindow const& window, SampleCursor const& candidate, std::int64_t targetUs) {
  if (window.following(candidate) <= 0) return std::nullopt;
  std::int64_t const distanceUs = DistanceUs(candidate, targetUs);
  if (distanceUs >= kTolerance) return std::nullopt;

  SampleCursor next = candidate;
  do {
    if (window.following(next) <= 1) return std::nullopt;
    next.advance(1);
  } while (ToUs(next->timestamp) == ToUs(candidate->timestamp));
  return distanceUs > DistanceUs(next, targetUs) ? next : candidate;
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
  auto start = NearerOf(window, window.atOrAfter(EarliestNs(readout.startUs)), readout.startUs);
  bool const startIsNear = start.has_value();
  if (!startIsNear) {
    if (!readout.mayBeCarried) return {{window.first(), 0}, false};
    start = window.first();
  }

  std::int64_t const endUs = ToUs((*start)->timestamp) + readout.shutterUs;
  SampleCursor candidate = *start;
  candidate.seek(EarliestNs(endUs));
  auto const end = NearerOf(window, candidate, endUs);
  auto const rest = static_cast<std::size_t>(window.following(*start));
  return {{*start, end ? start->following() - end->following() + 1 : rest}, startIsNear};
}

}  // namespace lsc
