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
  float const shareUs = static_cast<float>(static_cast<std::int64_t>(shorterUs)) * kOffsetFactor;  // 32 bits
  return static_cast<std::int64_t>(shareUs) - kOffsetConstantUs;
}

HallTable BuildHallTable(HallRun window, std::int64_t offsetUs) {
  HallTable table = {};
  std::int64_t takenUs = 0;
  for (std::size_t i = 0; i < window.size && table.count < HallTable::kCapacity; ++i) {
    std::int64_t const timeUs = ToUs(window.samples[i].timeNs);
    if (timeUs == takenUs) continue;

    table.sample[table.count] = static_cast<int>(i);
    table.alignedUs[table.count] = timeUs - offsetUs;
    ++table.count;
    takenUs = timeUs;
  }
  return table;
}

}  // namespace lsc
