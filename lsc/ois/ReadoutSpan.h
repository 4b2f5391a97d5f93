// The run of entries that covers a frame's readout.
#pragma once

#include <cstdint>
#include <optional>

#include "lsc/ois/HallTable.h"

namespace lsc {

// How far an entry may be from the start or the end of the readout to count as found there, in us: one and a half
// sample periods at 1 kHz. Empirical.
constexpr std::uint64_t kToleranceUs = 1500;

// The start of the readout, found near one entry.
struct StartMatch {
  int candidate;             // the first entry within the tolerance
  std::uint64_t distanceUs;  // of that entry, and of the one after it
  std::uint64_t nextDistanceUs;
  int startIndex;  // the nearer of the two; the first when they are equally near
};

// First and last entry, both included.
struct Span {
  int startIndex;
  int endIndex;

  int length() const { return endIndex - startIndex + 1; }
};

// Distance of two times in us, both taken as unsigned values.
constexpr std::uint64_t DistanceUs(std::int64_t alignedUs, std::uint64_t targetUs) {
  std::uint64_t const timeUs = static_cast<std::uint64_t>(alignedUs);
  return timeUs > targetUs ? timeUs - targetUs : targetUs - timeUs;
}

// Searches the start of the frame among all entries but the last, in order; entries at time 0 are no candidates.
std::optional<StartMatch> FindStart(HallTable const& table, std::uint64_t startOfFrameUs);

// The end of the readout for a span that begins at `startIndex`: that entry's time and the readout's.
std::uint64_t EndTargetUs(HallTable const& table, int startIndex, std::uint32_t shutterUs);

// The end of the readout, found near one entry.
struct EndMatch {
  int candidate;  // the first entry within the tolerance
  int endIndex;   // it or the one after it, whichever is nearer; the first when they are equally near
};

// Searches the end among the entries from `startIndex` to the last but one. An end on the start entry itself makes a
// span of one entry, entry 0 being no exception.
std::optional<EndMatch> FindEnd(HallTable const& table, int startIndex, std::uint64_t targetUs);

}  // namespace lsc
