#include "lsc/base/SampleRange.h"

namespace lsc {
namespace {

using NSCam::Utils::SensorData;

bool IsBefore(SensorData const& sample, std::int64_t timeNs) { return sample.timestamp < timeNs; }

}  // namespace

SampleCursor SampleCursor::FromNewest(FrameQueue const& queue, std::size_t remaining) {
  std::size_t const preceding = queue.sampleCount() - remaining;
  if (preceding < remaining) {  // nearer to the oldest frame
    std::size_t frame = 0;
    std::size_t offset = preceding;
    for (; offset >= queue[frame].second.size(); ++frame) offset -= queue[frame].second.size();
    return {queue, frame, offset, remaining};
  }
  std::size_t frame = queue.size();
  std::size_t counted = 0;
  while (counted < remaining) counted += queue[--frame].second.size();
  return {queue, frame, counted - remaining, remaining};
}

SampleCursor SampleCursor::LowerBound(FrameQueue const& queue, std::int64_t timeNs) {
  std::size_t remaining = 0;
  std::size_t frame = queue.size();
  for (; frame > 0; --frame) {
    Samples const& samples = queue[frame - 1].second;
    if (IsBefore(samples.front(), timeNs)) {
      if (IsBefore(samples.back(), timeNs)) break;
      auto const found = std::lower_bound(samples.begin(), samples.end(), timeNs, IsBefore);
      auto const offset = static_cast<std::size_t>(found - samples.begin());
      return {queue, frame - 1, offset, remaining + samples.size() - offset};
    }
    remaining += samples.size();  // the frame before may end at an equal time
  }
  return remaining == 0 ? SampleCursor(queue) : SampleCursor(queue, frame, 0, remaining);
}

void SampleCursor::advanceTo(std::int64_t timeNs) {
  while (mRemaining > 0 && IsBefore(mFrameEnd[-1], timeNs)) advance(remainingInFrame());
  if (mRemaining == 0) return;
  advance(static_cast<std::size_t>(std::lower_bound(mSample, mFrameEnd, timeNs, IsBefore) - mSample));
}

void SampleRange::copyTo(Samples& out) const {
  if (empty()) return;
  out.resize(mSize);
  ForEachChunk(first(), mSize, [to = out.data()](SensorData const* samples, std::size_t count) mutable {
    to = std::copy(samples, samples + count, to);
  });
}

}  // namespace lsc
