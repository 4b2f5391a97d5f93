// What the OIS computation needs of the samples around a frame: times and positions, without the rest of the records.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/SensorProvider.h"

namespace lsc {

constexpr std::size_t kWindowSize = 100;        // samples that a look-up by time answers
constexpr std::size_t kWindowBeforeMatch = 50;  // of them, those before the matched one

// The samples of one look-up, in ascending order of time, on the caller's stack: none or kWindowSize.
class HallWindow {
 public:
  std::size_t size() const { return mSize; }
  bool empty() const { return mSize == 0; }

  std::int64_t const* timesNs() const { return mTimesNs; }
  float const* hallX() const { return mHallX; }
  float const* hallY() const { return mHallY; }

  // Whether every sample is later than the one before it by at least this.
  bool everyGapIsAtLeast(std::uint64_t gapNs) const { return mSmallestGapNs >= gapNs; }

  void clear() {
    mSize = 0;
    mSmallestGapNs = ~std::uint64_t{0};
  }

  // Adds a run of at least one sample behind those that it has; they must follow in time, and there must be room.
  void append(NSCam::Utils::SensorData const* samples, std::size_t count);

 private:
  std::size_t mSize = 0;
  std::uint64_t mSmallestGapNs = ~std::uint64_t{0};
  std::int64_t mTimesNs[kWindowSize];
  float mHallX[kWindowSize];
  float mHallY[kWindowSize];
};

}  // namespace lsc
