#include "lsc/HallWindow.h"

#include <algorithm>

namespace lsc {

void HallWindow::append(NSCam::Utils::SensorData const* samples, std::size_t count) {
  std::uint64_t smallestGapNs = mSmallestGapNs;
  // Before the first sample there is no gap: its predecessor is as far away as can be.
  std::uint64_t previousNs = mSize > 0 ? static_cast<std::uint64_t>(mTimesNs[mSize - 1])
                                       : static_cast<std::uint64_t>(samples[0].timestamp) + 1;
  for (std::size_t i = 0; i < count; ++i) {
    auto const timeNs = static_cast<std::uint64_t>(samples[i].timestamp);
    mTimesNs[mSize + i] = samples[i].timestamp;
    mHallX[mSize + i] = samples[i].oisHallX;
    mHallY[mSize + i] = samples[i].oisHallY;
    smallestGapNs = std::min(smallestGapNs, timeNs - previousNs);
    previousNs = timeNs;
  }
  mSmallestGapNs = smallestGapNs;
  mSize += count;
}

}  // namespace lsc
