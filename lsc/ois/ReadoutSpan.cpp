#include "lsc/ois/ReadoutSpan.h"

namespace lsc {

std::optional<StartMatch> FindStart(HallTable const& table, std::uint64_t startOfFrameUs) {
  for (int i = 0; i + 1 < table.count; ++i) {
    if (table.alignedUs[i] == 0) continue;
    std::uint64_t const distanceUs = DistanceUs(table.alignedUs[i], startOfFrameUs);
    if (distanceUs >= kToleranceUs) continue;

    std::uint64_t const nextDistanceUs = DistanceUs(table.alignedUs[i + 1], startOfFrameUs);
    return StartMatch{i, distanceUs, nextDistanceUs, distanceUs > nextDistanceUs ? i + 1 : i};
  }
  return std::nullopt;
}

std::uint64_t EndTargetUs(HallTable const& table, int startIndex, std::uint32_t shutterUs) {
  return static_cast<std::uint64_t>(table.alignedUs[startIndex]) + shutterUs;
}

std::optional<EndMatch> FindEnd(HallTable const& table, int startIndex, std::uint64_t targetUs) {
  for (int i = startIndex; i + 1 < table.count; ++i) {
    std::uint64_t const distanceUs = DistanceUs(table.alignedUs[i], targetUs);
    if (distanceUs >= kToleranceUs) continue;

    bool const nextIsNearer = distanceUs > DistanceUs(table.alignedUs[i + 1], targetUs);
    return EndMatch{i, nextIsNearer ? i + 1 : i};
  }
  return std::nullopt;
}

}  // namespace lsc
