// Frames that wait for the last samples of their search interval, which may be delivered with a later frame.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <set>
#include <tuple>
#include <utility>

#include "tools/shadingctl/frame/Frame.h"

namespace shadingctl {

// Every frame comes out in the order in which it came in, with its distance from the mean of the samples of its search
// interval. Those are the camera's samples from 1500 us before the interval to 1500 us after it, whenever they were
// delivered: as many as a span with both ends near may hold. Samples with the same us and position count once. Constant
// memory.
class PendingFrames {
 public:
  // In any order; samples that were added before are ignored.
  void AddSample(std::int32_t camera, std::int64_t timeUs, float hallX, float hallY);

  void Add(Frame frame) { mFrames.push_back(std::move(frame)); }

  // The next frame, once it is complete. A frame waits for no more than 30 others.
  std::optional<Frame> Take();
  // The next frame, even if it is not complete.
  std::optional<Frame> TakeAnyway();

 private:
  // A batch may repeat samples that are so much older than the newest one, with slightly different times.
  static constexpr std::int64_t kRepeatedUs = 100000;
  static constexpr std::size_t kLongestWait = 30;    // frames: as many as the library's history has frames
  static constexpr std::size_t kRemembered = 16384;  // samples of a camera: two seconds at 8 kHz

  using Sample = std::tuple<std::int64_t, float, float>;

  bool IsComplete(FrameResult const& row) const;
  std::optional<double> DistanceOf(FrameResult const& row) const;

  std::deque<Frame> mFrames;
  std::map<std::int32_t, std::set<Sample>> mSamples;
};

}  // namespace shadingctl
