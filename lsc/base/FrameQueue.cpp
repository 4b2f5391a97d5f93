#include "lsc/base/FrameQueue.h"

namespace lsc {
namespace {

std::size_t PowerOfTwoFrom(std::size_t count) {
  std::size_t power = 1;
  while (power < count) power *= 2;
  return power;
}

}  // namespace

FrameQueue::FrameQueue(std::size_t maxFrames) noexcept : mSlots(PowerOfTwoFrom(maxFrames)), mMask(mSlots.size() - 1) {}

void FrameQueue::clear() noexcept {
  for (Frame& frame : mSlots) Samples().swap(frame.second);
  mSize = 0;
  mSampleCount = 0;
}

}  // namespace lsc
