#include "lsc/ois/HallTable.h"

#include <algorithm>

namespace lsc {
namespace {

// Tuned on devices: the stabiliser's samples trail the exposure by this share of it and by this constant delay.
constexpr float kOffsetFactor = -0.5432F;
constexpr std::int64_t kOffsetConstantUs = 166;

}  // namespace

std::int64_t OffsetUs(std::uint64_t exposureUs, std::uint32_t shutterUs) {
  std::uint64_t const shorterUs = std::min<std::uint64_t>(exposureUs, shutterUs);
  float const shareUs = static_cast<float>(shorterUs) * kOffsetFactor;
  return static_cast<std::int64_t>(shareUs) - kOffsetConstantUs;
}

HallTable BuildHallTable(HallWindow const& samples, std::int64_t offsetUs) {
  static_assert(HallTable::kCapacity >= kWindowSize, "a window always fits");
  HallTable table = {};
  std::int64_t takenUs = 0;
  for (std::size_t i = 0; i < static_cast<std::size_t>(samples.held()); ++i) {
    std::int64_t const timeUs = ToUs(samples.timesNs()[i]);
    if (timeUs == takenUs) continue;

    table.hallX[table.count] = samples.hallX()[i];
    table.hallY[table.count] = samples.hallY()[i];
    table.alignedUs[table.count] = timeUs - offsetUs;
    ++table.count;
    takenUs = timeUs;
  }
  return table;
}

}  // namespace lsc
