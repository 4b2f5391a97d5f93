// The regularity of a session's samples in their order of delivery. docs/replay-output.md explains every figure.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "platform/SensorProvider.h"
#include "tools/shadingctl/statistics/Histogram.h"

namespace shadingctl {

// Takes samples in the order of delivery, in constant memory.
//
// An interval is the time from the latest sample so far to the next one that is later. A phone repeats the samples
// around the end of a batch in the next one, with slightly different times: a sample that is not later than all before
// it, or later by less than a quarter of the median interval, counts as repeated and its interval is not counted.
class SampleHealth {
 public:
  struct Report {
    std::uint64_t delivered = 0;
    std::uint64_t batches = 0;         // deliveries with at least one sample
    std::uint64_t repeated = 0;        // samples that repeat an earlier one
    std::uint64_t duplicates = 0;      // of these, the ones with the very time of one of the last few
    std::uint64_t backwardSteps = 0;   // samples that are earlier than the one delivered before
    std::optional<double> rateHz;      // samples that are not repeated, per second from the first to the last
    std::optional<double> intervalUs;  // median
    std::optional<double> jitterUs;    // standard deviation of the intervals that are neither repeats nor gaps
    std::uint64_t gaps = 0;            // intervals of more than 1.5 times the median
    std::optional<double> longestUs;   // the longest interval
  };

  void Add(std::vector<NSCam::Utils::SensorData> const& batch);

  // The next sample does not follow the one before: the time between them counts for nothing.
  void Break() { mIsBroken = mOldestNs.has_value(); }

  Report Summarize() const;

 private:
  static constexpr std::size_t kRemembered = 256;  // more than any batch repeats

  void Add(std::int64_t timeNs);

  Report mCounts;
  Histogram mIntervalsNs;
  std::optional<std::int64_t> mOldestNs;  // of the new samples
  std::int64_t mNewestNs = 0;             // both hold once there is a sample
  std::int64_t mLastNs = 0;
  bool mIsBroken = false;
  std::int64_t mUntoldNs = 0;                             // of the time from the oldest to the newest
  std::array<std::int64_t, kRemembered> mRememberedNs{};  // a ring
};

}  // namespace shadingctl
