#include "tools/shadingctl/replay/Summary.h"

#include <algorithm>

namespace shadingctl {

void Range::Add(double value) {
  lowest = lowest ? std::min(*lowest, value) : value;
  highest = highest ? std::max(*highest, value) : value;
}

Summary::Summary(int logLevel) : mLogLevel(logLevel) {
  if (logLevel != 0) mBatches.split = 0;
  if (logLevel >= 4) mBatches.dropped = 0;
}

void Summary::AddUpdate(std::vector<NSCam::Utils::SensorData> const& batch, std::int64_t updateNs) {
  mHealth.Add(batch);
  mUpdateNs += updateNs;
}

void Summary::Add(FrameResult const& result, std::int64_t calculateNs) {
  if (mFrames == 0) {
    mFirstFrame = result.frame;
    mEarliestNs = mLatestNs = result.timestampNs;
  }
  ++mFrames;
  mLastFrame = result.frame;
  mEarliestNs = std::min(mEarliestNs, result.timestampNs);
  mLatestNs = std::max(mLatestNs, result.timestampNs);
  ++mMatches[static_cast<std::size_t>(result.match)];
  bool const gotPosition = result.match == Match::kStart || result.match == Match::kCarried;
  if (gotPosition && result.hallX) mHallX.Add(*result.hallX);
  if (gotPosition && result.hallY) mHallY.Add(*result.hallY);
  if (result.match == Match::kCarried && result.spanAgeUs) mCarriedAgeUs.Add(*result.spanAgeUs);
  mCalculateNs += calculateNs;
}

void Summary::AddAnswer(bool isAsRecorded) {
  ++mRecordedAnswers;
  if (!isAsRecorded) ++mDifferentAnswers;
}

void Summary::Close(hosting::Oddities const& oddities, std::int64_t replayNs) {
  mOddities = oddities;
  mReplayNs = replayNs;
}

double Summary::Percent(std::uint64_t count) const {
  return mFrames == 0 ? 0 : 100.0 * static_cast<double>(count) / static_cast<double>(mFrames);
}

double Summary::RecordedNs() const { return static_cast<double>(mLatestNs - mEarliestNs); }

}  // namespace shadingctl
