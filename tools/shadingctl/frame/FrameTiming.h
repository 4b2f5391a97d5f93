// The window of a frame as the library sees it.
//
// Times are aligned ones, in us: the library's own, in which a frame's search interval begins at its timestamp less
// its exposure time. Differences wrap as the library's do, so times that cannot be real do no harm.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "hosting/LibraryNumbers.h"
#include "tools/shadingctl/log/FrameMessages.h"

namespace shadingctl {

using hosting::kToleranceUs;
using hosting::kWindowSize;

struct AlignedSample {
  std::int64_t timeUs = 0;
  float hallX = 0;
  float hallY = 0;
};

// later - earlier
std::int64_t DifferenceUs(std::int64_t laterUs, std::int64_t earlierUs);

// Either way; INT64_MAX where it is longer.
std::int64_t DistanceUs(std::int64_t oneUs, std::int64_t otherUs);

// The library's table of the window: a sample in the same us as the one taken before is left out, and one in us 0 at
// the front.
std::vector<AlignedSample> AlignedTable(std::vector<SourceSample> const& window, std::int64_t offsetUs);

// From a time to the nearest entry; nullopt in an empty table.
std::optional<std::int64_t> NearestUs(std::vector<AlignedSample> const& table, std::int64_t timeUs);

// Aligned times, both included.
struct AlignedRange {
  std::int64_t firstUs = 0;
  std::int64_t lastUs = 0;
};

// Of the times between the table's neighbours; nullopt with fewer than two.
std::optional<std::int64_t> MedianIntervalUs(std::vector<AlignedSample> const& table);

}  // namespace shadingctl
