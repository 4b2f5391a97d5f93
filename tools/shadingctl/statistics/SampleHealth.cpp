#include "tools/shadingctl/statistics/SampleHealth.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace shadingctl {
namespace {

constexpr double kGapFactor = 1.5;      // of the median interval, as is the next
constexpr double kRepeatFactor = 0.25;  // far above the difference of a repeated time, far below any jitter

// The time from one to the other, without overflow for times that cannot be real.
std::int64_t DistanceNs(std::int64_t fromNs, std::int64_t toNs) {
  std::uint64_t const distanceNs = static_cast<std::uint64_t>(toNs) - static_cast<std::uint64_t>(fromNs);
  return static_cast<std::int64_t>(std::min<std::uint64_t>(distanceNs, INT64_MAX));
}

}  // namespace

void SampleHealth::Add(std::vector<NSCam::Utils::SensorData> const& batch) {
  if (!batch.empty()) ++mCounts.batches;
  for (auto const& sample : batch) Add(sample.timestamp);
}

void SampleHealth::Add(std::int64_t timeNs) {
  if (!mOldestNs) {
    mOldestNs = mNewestNs = timeNs;
  } else {
    if (timeNs < mLastNs) ++mCounts.backwardSteps;
    if (timeNs > mNewestNs) {
      if (mIsBroken) mUntoldNs += DistanceNs(mNewestNs, timeNs);
      if (!std::exchange(mIsBroken, false)) mIntervalsNs.Add(DistanceNs(mNewestNs, timeNs));
      mNewestNs = timeNs;
    } else {
      ++mCounts.repeated;
      auto const end = mRememberedNs.begin() + std::min<std::uint64_t>(mCounts.delivered, kRemembered);
      if (std::find(mRememberedNs.begin(), end, timeNs) != end) ++mCounts.duplicates;
    }
  }
  mLastNs = timeNs;
  mRememberedNs[mCounts.delivered % kRemembered] = timeNs;
  ++mCounts.delivered;
}

SampleHealth::Report SampleHealth::Summarize() const {
  Report report = mCounts;
  auto const medianNs = mIntervalsNs.Median();
  if (!medianNs) return report;
  Histogram::Part const regular = mIntervalsNs.Between(*medianNs * kRepeatFactor, *medianNs * kGapFactor);
  Histogram::Part const gaps = mIntervalsNs.Between(*medianNs * kGapFactor, std::numeric_limits<double>::infinity());
  auto const coveredNs = static_cast<double>(DistanceNs(*mOldestNs, mNewestNs) - mUntoldNs);
  report.repeated += mIntervalsNs.Count() - regular.count - gaps.count;
  report.rateHz = static_cast<double>(regular.count + gaps.count) / (coveredNs / 1e9);
  report.intervalUs = *medianNs / 1e3;
  report.jitterUs = regular.StandardDeviation() / 1e3;
  report.gaps = gaps.count;
  report.longestUs = static_cast<double>(mIntervalsNs.Largest()) / 1e3;
  return report;
}

}  // namespace shadingctl
