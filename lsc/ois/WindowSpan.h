// The search of ReadoutSpan without a table, for a frame about which nothing is said: times are looked up by their
// order instead of being aligned one by one, and the samples before the start of the frame are not even read. Positions
// come from the window, under the indices of what it holds; the answer is the one that the search in the table gives.
#pragma once

#include <cstdint>
#include <optional>

#include "lsc/HallWindow.h"
#include "lsc/ois/FrameTimes.h"

namespace lsc {

// A window that holds what the search needs: the samples from the start of the frame on or, when none is near it, all.
HallWindow WindowFor(FrameTimes const& times, std::int64_t offsetUs);

// Whether this search can be used: for times from microsecond 1 on that leave room to compute with, as all real ones
// do. Always so for a window that holds less than all.
bool IsPlain(HallWindow const& window, FrameTimes const& times);

// In a window of which repeated microseconds were dropped.
std::optional<int> FindStartInWindow(HallWindow const& window, std::uint64_t startOfFrameUs, std::int64_t offsetUs);
int FindEndInWindow(HallWindow const& window, int startIndex, std::uint32_t shutterUs);

}  // namespace lsc
