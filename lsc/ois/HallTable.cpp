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

HallTable BuildHallTable(std::vector<NSCam::Utils::SensorData> const& samples, std::int64_t offsetUs) {
  HallTable table = {};
  std::int64_t takenUs = 0;
  for (auto const& sample : samples) {
    if (table.count == HallTable::kCapacity) break;
    std::int64_t const timeUs = ToUs(sample.timestamp);
    if (timeUs == takenUs) continue;

    table.entries[table.count] = {sample.oisHallX, sample.oisHallY, timeUs - offsetUs};
    ++table.count;
    takenUs = timeUs;
  }
  return table;
}

}  // namespace lsc
