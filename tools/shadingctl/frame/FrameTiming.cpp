#include "tools/shadingctl/frame/FrameTiming.h"

#include <algorithm>

namespace shadingctl {

std::int64_t DifferenceUs(std::int64_t laterUs, std::int64_t earlierUs) {
  return static_cast<std::int64_t>(static_cast<std::uint64_t>(laterUs) - static_cast<std::uint64_t>(earlierUs));
}

std::int64_t DistanceUs(std::int64_t oneUs, std::int64_t otherUs) {
  std::int64_t const differenceUs = DifferenceUs(oneUs, otherUs);
  if (differenceUs >= 0) return differenceUs;
  return differenceUs == INT64_MIN ? INT64_MAX : -differenceUs;
}

std::vector<AlignedSample> AlignedTable(std::vector<SourceSample> const& window, std::int64_t offsetUs) {
  std::vector<AlignedSample> table;
  std::int64_t takenUs = 0;
  for (SourceSample const& sample : window) {
    if (table.size() == kWindowSize) break;
    if (sample.timeUs == takenUs) continue;
    table.push_back({DifferenceUs(sample.timeUs, offsetUs), sample.hallX, sample.hallY});
    takenUs = sample.timeUs;
  }
  return table;
}

std::optional<std::int64_t> NearestUs(std::vector<AlignedSample> const& table, std::int64_t timeUs) {
  std::optional<std::int64_t> nearestUs;
  for (AlignedSample const& entry : table) {
    nearestUs = std::min(nearestUs.value_or(INT64_MAX), DistanceUs(entry.timeUs, timeUs));
  }
  return nearestUs;
}

std::optional<std::int64_t> MedianIntervalUs(std::vector<AlignedSample> const& table) {
  if (table.size() < 2) return std::nullopt;
  std::vector<std::int64_t> intervalsUs;
  for (std::size_t i = 1; i < table.size(); ++i)
    intervalsUs.push_back(DifferenceUs(table[i].timeUs, table[i - 1].timeUs));
  auto const middle = intervalsUs.begin() + static_cast<std::ptrdiff_t>(intervalsUs.size() / 2);
  std::nth_element(intervalsUs.begin(), middle, intervalsUs.end());
  return *middle;
}

}  // namespace shadingctl
