// A view of consecutive samples of a history, all frames joined. Valid until the history changes.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "lsc/base/FrameQueue.h"

namespace lsc {

constexpr std::size_t kWindowSize = 100;  // samples that a look-up by time answers

// A position in the joined samples of a history: one of the samples, or the end. Samples are in ascending order of
// time, so positions are found by binary search inside a frame.
class SampleCursor {
 public:
  SampleCursor() = default;  // assign before use

  // The end.
  explicit SampleCursor(FrameQueue const& queue) : mQueue(&queue) {}

  // The sample that is followed by `remaining` - 1 newer ones. Requires: 1 <= remaining <= queue.sampleCount().
  static SampleCursor FromNewest(FrameQueue const& queue, std::size_t remaining);

  // The first sample at or after a time, or the end. Searches the frames from the newest one back.
  static SampleCursor LowerBound(FrameQueue const& queue, std::int64_t timeNs);

  // Number of samples from this one to the newest, both included; 0 at the end.
  std::size_t remaining() const { return mRemaining; }

  NSCam::Utils::SensorData const& operator*() const { return *mSample; }
  NSCam::Utils::SensorData const* operator->() const { return mSample; }

  // Moves forward. Requires: count <= remainingInFrame().
  void advance(std::size_t count) {
    mRemaining -= count;
    mSample += count;
    if (mSample == mFrameEnd && mRemaining > 0) enterFrame(mFrame + 1);
  }

  // Moves forward to the first sample at or after a time, or to the end.
  void advanceTo(std::int64_t timeNs);

  // Number of samples from this one to the last one of its frame, both included.
  std::size_t remainingInFrame() const { return static_cast<std::size_t>(mFrameEnd - mSample); }

 private:
  SampleCursor(FrameQueue const& queue, std::size_t frame, std::size_t offset, std::size_t remaining)
      : mQueue(&queue), mRemaining(remaining) {
    enterFrame(frame);
    mSample += offset;
  }

  void enterFrame(std::size_t frame) {
    Samples const& samples = (*mQueue)[frame].second;
    mFrame = frame;
    mSample = samples.data();
    mFrameEnd = samples.data() + samples.size();
  }

  FrameQueue const* mQueue = nullptr;
  std::size_t mFrame = 0;
  NSCam::Utils::SensorData const* mSample = nullptr;
  NSCam::Utils::SensorData const* mFrameEnd = nullptr;
  std::size_t mRemaining = 0;
};

// Consecutive samples, or none. Cheap to make: the first sample is located only when it is asked for. Counts have 32
// bits, since a range of 16 bytes is returned in registers: 8 ns a calculation. 2^32 samples would be 256 GiB.
class SampleRange {
 public:
  SampleRange() = default;

  // `size` samples, of which the first is followed by `remaining` - 1 newer ones. Requires: size <= remaining <=
  // queue.sampleCount().
  SampleRange(FrameQueue const& queue, std::size_t remaining, std::size_t size)
      : mQueue(&queue), mRemaining(static_cast<std::uint32_t>(remaining)), mSize(static_cast<std::uint32_t>(size)) {}

  bool empty() const { return mSize == 0; }
  std::size_t size() const { return mSize; }

  // Requires: not empty.
  SampleCursor first() const { return SampleCursor::FromNewest(*mQueue, mRemaining); }

  // The first sample of the range at or after a time, or past the end.
  SampleCursor lowerBound(std::int64_t timeNs) const {
    SampleCursor const found = SampleCursor::LowerBound(*mQueue, timeNs);
    return found.remaining() > mRemaining ? first() : found;
  }

  // Number of samples from `position` to the last one of the range; 0 past the end.
  std::size_t remainingFrom(SampleCursor const& position) const {
    std::size_t const behind = mRemaining - mSize;
    return position.remaining() > behind ? position.remaining() - behind : 0;
  }

  // Index in the range. Requires: the position is in the range.
  std::uint32_t indexOf(SampleCursor const& position) const {
    return mRemaining - static_cast<std::uint32_t>(position.remaining());
  }

  // Replaces `out` by copies of the samples; an empty range leaves it as it is.
  void copyTo(Samples& out) const;

 private:
  FrameQueue const* mQueue = nullptr;
  std::uint32_t mRemaining = 0;
  std::uint32_t mSize = 0;
};

// Calls take(pointer, count) once per contiguous chunk of the `size` samples from `position` on.
template <typename Take>
void ForEachChunk(SampleCursor position, std::size_t size, Take take) {
  while (size > 0) {
    std::size_t const count = std::min(size, position.remainingInFrame());
    take(&*position, count);
    position.advance(count);
    size -= count;
  }
}

}  // namespace lsc
