// The history's frames, from the oldest to the newest.
#pragma once

#include <cstddef>
#include <utility>
#include <vector>

#include "platform/SensorProvider.h"

namespace lsc {

using Samples = std::vector<NSCam::Utils::SensorData>;
using Frame = std::pair<unsigned int, Samples>;  // the host's frame number and the frame's samples

// A double-ended queue of frames in a ring of slots, allocated once. Evicted slots keep their capacity for the frames
// to come, so a settled session takes no memory; capacity far beyond what the frames in the queue need is given back.
//
// Thread safety: none; the owner locks.
class FrameQueue {
 public:
  // Room for `maxFrames` frames at once.
  explicit FrameQueue(std::size_t maxFrames) noexcept;

  bool empty() const { return mSize == 0; }
  std::size_t size() const { return mSize; }
  std::size_t sampleCount() const { return mSampleCount; }

  // Index 0 is the oldest frame.
  Frame const& operator[](std::size_t index) const { return mSlots[(mOldest + index) & mMask]; }
  Frame const& front() const { return (*this)[0]; }
  Frame const& back() const { return (*this)[mSize - 1]; }

  // The slot of the frame that is pushed next. Contents unspecified; the caller overwrites them.
  // Requires: fewer than maxFrames frames.
  Samples& next() { return slot(mSize).second; }

  // Appends the samples in next() as the newest frame.
  void push(unsigned int number) {
    slot(mSize).first = number;
    mSampleCount += next().size();
    ++mSize;
  }

  void popOldest() {
    mSampleCount -= front().second.size();
    Samples& evicted = slot(0).second;
    ++mOldest;
    --mSize;
    giveBackExcess(evicted);
  }

  // Applies `change` to the samples of the newest frame.
  template <typename Change>
  void changeNewest(Change change) {
    Samples& samples = slot(mSize - 1).second;
    mSampleCount -= samples.size();
    change(samples);
    mSampleCount += samples.size();
  }

  // Frees the memory of `samples`, whose contents are no longer needed, if it is far more than the frames in the queue
  // need on average.
  void giveBackExcess(Samples& samples) const {
    if (samples.capacity() > kAlwaysKept && samples.capacity() * mSize > kKeptMultiple * mSampleCount) {
      Samples().swap(samples);
    }
  }

  // Drops all frames and gives the memory of their samples back.
  void clear() noexcept;

 private:
  // Capacity that is kept: 8 times the average frame, so that batches of uneven sizes settle, and in any case 128
  // samples (8 KiB), more than a frame at 30 frames a second has at 3 kHz.
  static constexpr std::size_t kKeptMultiple = 8;
  static constexpr std::size_t kAlwaysKept = 128;

  Frame& slot(std::size_t index) { return mSlots[(mOldest + index) & mMask]; }

  std::vector<Frame> mSlots;  // a power of two of them
  std::size_t mMask;          // number of slots less 1
  std::size_t mOldest = 0;    // ever increasing; masked, it is the index of the oldest slot
  std::size_t mSize = 0;
  std::size_t mSampleCount = 0;
};

}  // namespace lsc
