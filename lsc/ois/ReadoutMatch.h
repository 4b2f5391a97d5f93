// Which samples cover a frame's readout: the one search, in place in the history.
//
// Aligned times are sample times less the frame's offset, in us. The first sample of every microsecond is an entry; a
// window's leading samples of microsecond 0 are none. Distances compare times as unsigned values, so two times on
// either side of 0 are never near each other.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "lsc/base/SampleRange.h"

namespace lsc {

// An entry is near a time when it is closer than this, in us: one and a half sample periods at 1 kHz. Empirical.
constexpr std::int64_t kToleranceUs = 1500;

// Where a frame's samples are searched: from the start of frame on, as long as the readout.
struct SearchInterval {
  std::uint64_t startOfFrameUs;
  std::uint32_t readoutUs;  // readout time
  std::int64_t offsetUs;    // subtracted from sample times
};

// An entry found near a time, as indices in the window.
struct NearEntry {
  std::uint32_t candidate;  // the first entry that is near; never the last entry
  std::uint32_t chosen;     // the candidate, or the next entry if that is closer
};

// The span is the samples from its first entry to its last one, both included. It begins with start->chosen or, when no
// entry is near the start and the search falls back to it, with the window's first entry; it ends with end->chosen or,
// when no entry is near the end, with the window's last sample.
struct ReadoutMatch {
  std::optional<NearEntry> start;  // near the start of the frame; an entry at time 0 is no candidate
  std::optional<NearEntry> end;    // near the time of the span's first entry plus the readout time
  SampleCursor spanFirst;          // meaningless when the span is empty
  std::size_t spanSize = 0;        // 0 when there is no first entry
};

// Finds the span of a search interval in a window, in place and without allocating. `fallBackToOldest` lets a span
// without a near start begin with the window's first entry. Requires: the window is not empty.
ReadoutMatch MatchReadout(SampleRange const& window, SearchInterval const& interval, bool fallBackToOldest);

// Distance in us of an aligned time and another time, compared as unsigned values.
constexpr std::uint64_t DistanceUs(std::int64_t alignedUs, std::uint64_t otherUs) {
  auto const timeUs = static_cast<std::uint64_t>(alignedUs);
  return timeUs > otherUs ? timeUs - otherUs : otherUs - timeUs;
}

}  // namespace lsc
