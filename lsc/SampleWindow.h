// What a look-up in a history answers, where it lies. Everything here is valid while the buffer's mDataMutex is held.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "lsc/sensor/FrameQueue.h"

namespace lsc {

constexpr std::size_t kWindowSize = 100;        // samples that a look-up by time answers
constexpr std::size_t kWindowBeforeMatch = 50;  // of them, those before the matched one

// A place in the sequence of a history's samples, all frames joined: one of the samples, or the end.
class SampleCursor {
 public:
  // The end.
  explicit SampleCursor(FrameQueue const& queue) : mQueue(&queue) {}

  // The `following`-th sample from the newest one, which is the first; there must be so many.
  static SampleCursor FromNewest(FrameQueue const& queue, std::size_t following);

  // The first sample at or after a time, or the end. The walk goes from the newest frame to the sample.
  static SampleCursor AtOrAfter(FrameQueue const& queue, std::int64_t timeNs);

  // How many samples there are from this one to the newest, both included; 0 at the end.
  std::size_t following() const { return mFollowing; }

  NSCam::Utils::SensorData const& operator*() const { return *mSample; }
  NSCam::Utils::SensorData const* operator->() const { return mSample; }

  // Moves on by `count` samples, at most to the first one of the next frame.
  void advance(std::size_t count) {
    mFollowing -= count;
    mSample += count;
    if (mSample == mFrameEnd && mFollowing > 0) enter(mFrame + 1);
  }

  // Moves on to the first sample at or after a time, or to the end.
  void seek(std::int64_t timeNs);

  // Samples from this one to the last one of its frame.
  std::size_t restOfFrame() const { return static_cast<std::size_t>(mFrameEnd - mSample); }

 private:
  using Sample = NSCam::Utils::SensorData;

  SampleCursor(FrameQueue const& queue, std::size_t frame, std::size_t offset, std::size_t following)
      : mQueue(&queue), mFollowing(following) {
    enter(frame);
    mSample += offset;
  }

  void enter(std::size_t frame) {
    Samples const& samples = (*mQueue)[frame].second;
    mFrame = frame;
    mSample = samples.data();
    mFrameEnd = samples.data() + samples.size();
  }

  FrameQueue const* mQueue;
  std::size_t mFrame = 0;
  Sample const* mSample = nullptr;
  Sample const* mFrameEnd = nullptr;
  std::size_t mFollowing = 0;
};

// Some samples in a row.
struct SampleRun {
  SampleCursor first;
  std::size_t size;
};

// Hands the samples of a run to `take`, piece by piece: an address and how many lie there.
template <typename Take>
void ForEachPiece(SampleRun run, Take take) {
  while (run.size > 0) {
    std::size_t const count = std::min(run.size, run.first.restOfFrame());
    take(&*run.first, count);
    run.first.advance(count);
    run.size -= count;
  }
}

// Samples in a row that are found only when somebody asks for them.
class SampleWindow {
 public:
  // `size` samples, the first of which is the `following`-th from the newest one.
  SampleWindow(FrameQueue const& queue, std::size_t following, std::size_t size)
      : mQueue(queue), mFollowing(following), mSize(size) {}

  std::size_t size() const { return mSize; }
  SampleCursor first() const { return SampleCursor::FromNewest(mQueue, mFollowing); }
  SampleRun all() const { return {first(), mSize}; }

  // How many samples there are from the first one behind the window to the newest.
  std::size_t behind() const { return mFollowing - mSize; }

  // The first sample of the window at or after a time; behind the window when there is none.
  SampleCursor atOrAfter(std::int64_t timeNs) const {
    SampleCursor const found = SampleCursor::AtOrAfter(mQueue, timeNs);
    return found.following() > mFollowing ? first() : found;
  }

  // The times of the history, of which the window is a part.
  std::int64_t oldestNs() const { return mQueue.front().second.front().timestamp; }
  std::int64_t newestNs() const { return mQueue.back().second.back().timestamp; }

 private:
  FrameQueue const& mQueue;
  std::size_t mFollowing;
  std::size_t mSize;
};

// Takes the answer of a look-up. A look-up that finds nothing does not call it.
class SampleReader {
 public:
  virtual void read(SampleWindow const& window) = 0;

  // How many samples it has, for messages.
  virtual std::size_t size() const = 0;

 protected:
  SampleReader() = default;
  SampleReader(SampleReader const&) = default;
  SampleReader& operator=(SampleReader const&) = default;
  ~SampleReader() = default;
};

// Replaces a vector by copies.
class SampleCopy final : public SampleReader {
 public:
  explicit SampleCopy(Samples& out) : mOut(out) {}
  void read(SampleWindow const& window) override;
  std::size_t size() const override { return mOut.size(); }

 private:
  Samples& mOut;
};

}  // namespace lsc
