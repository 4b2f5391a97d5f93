#include "lsc/SampleWindow.h"

namespace lsc {
namespace {

using NSCam::Utils::SensorData;

bool IsBefore(SensorData const& sample, std::int64_t timeNs) { return sample.timestamp < timeNs; }

// std::lower_bound among samples of which the last one is not before the time, without a branch to be guessed.
SensorData const* LowerBound(SensorData const* samples, std::size_t count, std::int64_t timeNs) {
  while (count > 1) {
    std::size_t const half = count / 2;
    samples += IsBefore(samples[half - 1], timeNs) ? half : 0;
    count -= half;
  }
  return samples;
}

}  // namespace

SampleCursor SampleCursor::FromNewest(FrameQueue const& queue, std::size_t following) {
  std::size_t const before = queue.sampleCount() - following;
  if (before < following) {  // nearer to the oldest frame
    std::size_t frame = 0;
    std::size_t passed = before;
    for (; passed >= queue[frame].second.size(); ++frame) passed -= queue[frame].second.size();
    return {queue, frame, passed, following};
  }
  std::size_t frame = queue.size();
  std::size_t passed = 0;
  while (passed < following) passed += queue[--frame].second.size();
  return {queue, frame, passed - following, following};
}

SampleCursor SampleCursor::AtOrAfter(FrameQueue const& queue, std::int64_t timeNs) {
  std::size_t following = 0;
  std::size_t frame = queue.size();
  for (; frame > 0; --frame) {
    Samples const& samples = queue[frame - 1].second;
    if (IsBefore(samples.front(), timeNs)) {
      if (IsBefore(samples.back(), timeNs)) break;
      SensorData const* const found = LowerBound(samples.data(), samples.size(), timeNs);
      auto const offset = static_cast<std::size_t>(found - samples.data());
      return {queue, frame - 1, offset, following + samples.size() - offset};
    }
    following += samples.size();  // and the frame before this one may end at an equal time
  }
  return following == 0 ? SampleCursor(queue) : SampleCursor(queue, frame, 0, following);
}

void SampleCursor::seek(std::int64_t timeNs) {
  while (mFollowing > 0 && IsBefore(mFrameEnd[-1], timeNs)) advance(restOfFrame());
  if (mFollowing == 0) return;
  advance(static_cast<std::size_t>(LowerBound(mSample, restOfFrame(), timeNs) - mSample));
}

void SampleCopy::read(SampleWindow const& window) {
  mOut.resize(window.size());
  ForEachPiece(window.all(), [to = mOut.data()](NSCam::Utils::SensorData const* samples, std::size_t count) mutable {
    to = std::copy(samples, samples + count, to);
  });
}

}  // namespace lsc
