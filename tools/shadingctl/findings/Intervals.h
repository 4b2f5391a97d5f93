// Stretches of time and lists of frames, in memory that does not grow with the number of frames in a row.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "tools/shadingctl/frame/Frame.h"

namespace shadingctl {

// Least length of the windows by which the lens and the sample rate are judged.
constexpr std::int64_t kWindowNs = 500000000;

// Both ends included. The frames are those with which the samples came, or those that are meant.
struct Interval {
  std::int64_t fromNs = 0;
  std::int64_t toNs = 0;
  std::uint32_t firstFrame = 0;
  std::uint32_t lastFrame = 0;

  std::int64_t LengthNs() const { return TimeDifference(toNs, fromNs); }
};

// Appends an interval, or joins it with the last one where the two are nearer to each other than a window.
inline void AddTo(std::vector<Interval>& all, Interval const& interval) {
  if (!all.empty() && TimeDifference(interval.fromNs, all.back().toNs) < kWindowNs &&
      TimeDifference(all.back().fromNs, interval.toNs) < kWindowNs) {
    Interval& last = all.back();
    last = {std::min(last.fromNs, interval.fromNs), std::max(last.toNs, interval.toNs),
            std::min(last.firstFrame, interval.firstFrame), std::max(last.lastFrame, interval.lastFrame)};
  } else {
    all.push_back(interval);
  }
}

// Sorts intervals by their beginnings, and joins neighbours as AddTo does.
inline std::vector<Interval> Joined(std::vector<Interval> intervals) {
  std::sort(intervals.begin(), intervals.end(),
            [](Interval const& one, Interval const& other) { return one.fromNs < other.fromNs; });
  std::vector<Interval> all;
  for (Interval const& interval : intervals) AddTo(all, interval);
  return all;
}

// How many frames, which came first, and when.
struct FrameList {
  static constexpr std::size_t kNamed = 5;

  std::uint64_t count = 0;
  std::vector<std::uint32_t> first;  // kNamed of them at most
  std::vector<Interval> intervals;   // of the frames whose time was given

  void Add(std::uint32_t frame, std::optional<std::int64_t> timeNs = std::nullopt) {
    if (count++ < kNamed) first.push_back(frame);
    if (timeNs) AddTo(intervals, {*timeNs, *timeNs, frame, frame});
  }
  void Add(FrameHead const& head) { Add(head.frame, static_cast<std::int64_t>(head.timestampNs)); }
};

}  // namespace shadingctl
