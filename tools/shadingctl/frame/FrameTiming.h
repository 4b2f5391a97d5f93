// The span of a frame compared with its search interval. docs/replay-output.md explains every figure.
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

// The entry that is nearest to a time; nullopt in an empty table.
struct NearestEntry {
  std::size_t index = 0;
  std::int64_t distanceUs = 0;
};
std::optional<NearestEntry> FindNearest(std::vector<AlignedSample> const& table, std::int64_t timeUs);

// Aligned times, both included.
struct AlignedRange {
  std::int64_t firstUs = 0;
  std::int64_t lastUs = 0;
};

// Where the library looks for a frame's samples: from the start of frame on, as long as the readout.
struct SearchInterval {
  std::int64_t startUs = 0;
  std::uint32_t lengthUs = 0;
};

struct LensPosition {
  double x = 0;
  double y = 0;
};

double Distance(LensPosition const& one, LensPosition const& other);

// Both ends of a span as the library looks for them: the end one readout time after the first entry, wherever that is.
struct SpanTiming {
  std::int64_t ageUs = 0;  // from the first entry to the start of the interval; negative when the entry is later
  std::int64_t endDistanceUs = 0;
  std::optional<double>
      coverage;              // share of the interval between the first and the last entry; nullopt without a length
  std::size_t repeated = 0;  // samples of the span that repeat an earlier one
  bool EndIsNear() const { return endDistanceUs < kToleranceUs; }
};

// nullopt when the table does not hold the span.
std::optional<SpanTiming> TimeSpan(std::vector<AlignedSample> const& table, SpanFound const& span,
                                   SearchInterval const& interval);

// Of the times between the table's neighbours; nullopt with fewer than two.
std::optional<std::int64_t> MedianIntervalUs(std::vector<AlignedSample> const& table);

// How many samples from `first` to `last` repeat an earlier one: at the same position, and later by less than a
// quarter of the table's median interval.
std::size_t CountRepeated(std::vector<AlignedSample> const& table, std::size_t first, std::size_t last);

}  // namespace shadingctl
