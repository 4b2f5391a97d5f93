// What the OIS computation needs of the samples around a frame: times and positions, without the rest of the records.
#pragma once

#include <cstddef>
#include <cstdint>

#include "lsc/TimeUnits.h"
#include "platform/SensorProvider.h"

namespace lsc {

constexpr std::size_t kWindowSize = 100;        // samples that a look-up by time answers
constexpr std::size_t kWindowBeforeMatch = 50;  // of them, those before the matched one

// The samples of one look-up, in ascending order of time, on the caller's stack: none or kWindowSize, of which the
// window holds all or, where that is asked for and enough, the last ones.
class HallWindow {
 public:
  // Holds all samples.
  HallWindow() = default;

  // Holds the samples from the first one at or after `fromNs` on, if that one is earlier than `byNs` and they are not
  // all of one microsecond; otherwise all. Neither time is before 0.
  HallWindow(std::int64_t fromNs, std::int64_t byNs) : mFromNs(fromNs), mByNs(byNs) {}

  bool mayHoldLess() const { return mByNs > 0; }
  std::int64_t fromNs() const { return mFromNs; }
  std::int64_t byNs() const { return mByNs; }

  // How many samples the look-up answered, held or not.
  std::size_t size() const { return mSize; }
  bool empty() const { return mSize == 0; }

  // How many of them are held, and those: times in ns and positions.
  int held() const { return mHeld; }
  std::int64_t const* timesNs() const { return mTimesNs; }
  float const* hallX() const { return mHallX; }
  float const* hallY() const { return mHallY; }

  // Begins an answer of `size` samples.
  void begin(std::size_t size) {
    mSize = size;
    mHeld = 0;
    mAnyClose = false;
  }

  // Adds a run of samples behind those that are held; they follow in time, and there must be room.
  void append(NSCam::Utils::SensorData const* samples, std::size_t count) {
    std::int64_t* const timesNs = mTimesNs + mHeld;
    float* const hallX = mHallX + mHeld;
    float* const hallY = mHallY + mHeld;
    // A time that no sample follows closely: the distance of two times is taken as unsigned.
    std::uint64_t previousNs = mHeld > 0 ? static_cast<std::uint64_t>(timesNs[-1])
                                         : static_cast<std::uint64_t>(samples[0].timestamp) + kNoGapNs;
    bool anyClose = mAnyClose;
    for (std::size_t i = 0; i < count; ++i) {
      std::int64_t const timeNs = samples[i].timestamp;
      timesNs[i] = timeNs;
      hallX[i] = samples[i].oisHallX;
      hallY[i] = samples[i].oisHallY;
      anyClose |= static_cast<std::uint64_t>(timeNs) - previousNs < static_cast<std::uint64_t>(kNsPerUs);
      previousNs = static_cast<std::uint64_t>(timeNs);
    }
    mAnyClose = anyClose;
    mHeld += static_cast<int>(count);
  }

  // Leaves the first sample of every microsecond. No time may be before 0.
  void dropRepeatedMicroseconds();

 private:
  static constexpr std::uint64_t kNoGapNs = std::uint64_t{1} << 63;

  std::int64_t mFromNs = 0;
  std::int64_t mByNs = 0;  // 0: all samples are held
  std::size_t mSize = 0;
  int mHeld = 0;
  bool mAnyClose = false;  // two neighbours less than a microsecond apart, which may be of one
  std::int64_t mTimesNs[kWindowSize];
  float mHallX[kWindowSize];
  float mHallY[kWindowSize];
};

}  // namespace lsc
