#include "tools/shadingctl/findings/Intervals.h"

#include <algorithm>
#include <cmath>

namespace shadingctl {

std::int64_t DifferenceNs(std::int64_t laterNs, std::int64_t earlierNs) {
  return static_cast<std::int64_t>(static_cast<std::uint64_t>(laterNs) - static_cast<std::uint64_t>(earlierNs));
}

void Intervals::Add(Interval const& interval) {
  if (!mAll.empty() && DifferenceNs(interval.fromNs, mAll.back().toNs) < kWindowNs &&
      DifferenceNs(mAll.back().fromNs, interval.toNs) < kWindowNs) {
    Interval& last = mAll.back();
    last = {std::min(last.fromNs, interval.fromNs), std::max(last.toNs, interval.toNs),
            std::min(last.firstFrame, interval.firstFrame), std::max(last.lastFrame, interval.lastFrame)};
    return;
  }
  mAll.push_back(interval);
}

void FrameList::Add(std::uint32_t frame, std::optional<std::int64_t> timeNs) {
  if (count < kNamed) first[static_cast<std::size_t>(count)] = frame;
  ++count;
  if (timeNs) intervals.Add(*timeNs, frame);
}

}  // namespace shadingctl
