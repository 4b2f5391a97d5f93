// The frames of a history, from the oldest to the newest.
#pragma once

#include <cstddef>
#include <utility>
#include <vector>

#include "platform/SensorProvider.h"

namespace lsc {

using Samples = std::vector<NSCam::Utils::SensorData>;
using Frame = std::pair<unsigned int, Samples>;  // the host's number and the frame's samples

// A double-ended queue of frames that grows at the newest end as it shrinks at the oldest, and knows how many samples
// it holds. A ring of slots, all made at once: a frame that goes leaves the memory of its samples in its slot, for the
// frame that will come there, so that a queue of settled length takes no memory.
class FrameQueue {
 public:
  explicit FrameQueue(std::size_t maxFrames);

  bool empty() const { return mSize == 0; }
  std::size_t size() const { return mSize; }
  std::size_t sampleCount() const { return mSampleCount; }

  // Entry 0 is the oldest.
  Frame const& operator[](std::size_t entry) const { return mSlots[(mOldest + entry) & mMask]; }
  Frame const& front() const { return (*this)[0]; }
  Frame const& back() const { return (*this)[mSize - 1]; }

  // The memory of the frame that will be pushed next: to be filled, whatever it holds.
  Samples& next() { return slot(mSize).second; }

  // Makes next() the newest frame. There must be fewer than maxFrames.
  void push(unsigned int number) {
    slot(mSize).first = number;
    mSampleCount += next().size();
    ++mSize;
  }

  void popOldest() {
    mSampleCount -= front().second.size();
    ++mOldest;
    --mSize;
  }

  // Lets `change` alter the samples of the newest frame.
  template <typename Change>
  void changeNewest(Change change) {
    Samples& samples = slot(mSize - 1).second;
    mSampleCount -= samples.size();
    change(samples);
    mSampleCount += samples.size();
  }

  // Gives all memory of samples back.
  void clear();

 private:
  Frame& slot(std::size_t entry) { return mSlots[(mOldest + entry) & mMask]; }

  std::vector<Frame> mSlots;  // as many as a power of two
  std::size_t mMask;          // the bits of a slot's number
  std::size_t mOldest = 0;    // counts on; masked, it is the slot
  std::size_t mSize = 0;
  std::size_t mSampleCount = 0;
};

}  // namespace lsc
