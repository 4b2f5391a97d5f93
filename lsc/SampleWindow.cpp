#include "lsc/SampleWindow.h"

namespace lsc {
namespace {

bool IsBefore(NSCam::Utils::SensorData const& sample, std::int64_t timeNs) { return sample.timestamp < timeNs; }

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
  SampleCursor found(queue);
  for (std::size_t frame = queue.size(); frame-- > 0;) {
    Samples const& samples = queue[frame].second;
    if (!IsBefore(samples.front(), timeNs)) {  // the frame before this one may end at an equal time
      found = {queue, frame, 0, found.mFollowing + samples.size()};
      continue;
    }
    if (!IsBefore(samples.back(), timeNs)) {
      auto const place = std::lower_bound(samples.begin(), samples.end(), timeNs, IsBefore);
      auto const offset = static_cast<std::size_t>(place - samples.begin());
      found = {queue, frame, offset, found.mFollowing + samples.size() - offset};
    }
    break;
  }
  return found;
}

void SampleCursor::seek(std::int64_t timeNs) {
  while (mFollowing > 0 && IsBefore(mFrameEnd[-1], timeNs)) advance(restOfFrame());
  if (mFollowing == 0) return;
  advance(static_cast<std::size_t>(std::lower_bound(mSample, mFrameEnd, timeNs, IsBefore) - mSample));
}

void SampleCopy::read(SampleWindow const& window) {
  mOut.resize(window.size());
  ForEachPiece(window.all(), [to = mOut.data()](NSCam::Utils::SensorData const* samples, std::size_t count) mutable {
    to = std::copy(samples, samples + count, to);
  });
}

}  // namespace lsc
