#include "tools/shadingctl/frame/FrameTiming.h"

#include <algorithm>
#include <cmath>

namespace shadingctl {
namespace {

constexpr std::int64_t kRepeatPart = 4;  // of the median interval: far above the difference of a repeated time

}  // namespace

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

std::optional<NearestEntry> FindNearest(std::vector<AlignedSample> const& table, std::int64_t timeUs) {
  std::optional<NearestEntry> nearest;
  for (std::size_t i = 0; i < table.size(); ++i) {
    std::int64_t const distanceUs = DistanceUs(table[i].timeUs, timeUs);
    if (!nearest || distanceUs < nearest->distanceUs) nearest = {i, distanceUs};
  }
  return nearest;
}

double Distance(LensPosition const& one, LensPosition const& other) {
  return std::hypot(one.x - other.x, one.y - other.y);
}

std::optional<SpanTiming> TimeSpan(std::vector<AlignedSample> const& table, SpanFound const& span,
                                   SearchInterval const& interval) {
  bool const isHeld = span.first >= 0 && span.first <= span.last && static_cast<std::size_t>(span.last) < table.size();
  if (!isHeld) return std::nullopt;
  auto const first = static_cast<std::size_t>(span.first);
  auto const last = static_cast<std::size_t>(span.last);
  std::int64_t const firstUs = DifferenceUs(table[first].timeUs, interval.startUs);  // both since the interval's start
  std::int64_t const lastUs = DifferenceUs(table[last].timeUs, interval.startUs);

  SpanTiming timing;
  timing.ageUs = DifferenceUs(0, firstUs);
  timing.endDistanceUs = DistanceUs(DifferenceUs(lastUs, firstUs), interval.lengthUs);
  if (interval.lengthUs > 0) {
    std::int64_t const length = interval.lengthUs;
    std::int64_t const coveredUs =
        std::clamp<std::int64_t>(lastUs, 0, length) - std::clamp<std::int64_t>(firstUs, 0, length);
    timing.coverage = static_cast<double>(std::max<std::int64_t>(coveredUs, 0)) / static_cast<double>(length);
  }
  timing.repeated = CountRepeated(table, first, last);
  return timing;
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

std::size_t CountRepeated(std::vector<AlignedSample> const& table, std::size_t first, std::size_t last) {
  auto const intervalUs = MedianIntervalUs(table);
  if (!intervalUs) return 0;
  std::size_t repeated = 0;
  for (std::size_t i = std::max<std::size_t>(first, 1); i <= last; ++i) {
    AlignedSample const& before = table[i - 1];
    bool const isNear = DifferenceUs(table[i].timeUs, before.timeUs) < *intervalUs / kRepeatPart;
    if (isNear && table[i].hallX == before.hallX && table[i].hallY == before.hallY) ++repeated;
  }
  return repeated;
}

}  // namespace shadingctl
