#include "tools/shadingctl/replay/Summary.h"

#include <algorithm>

namespace shadingctl {

void Range::Add(double value) {
  lowest = lowest ? std::min(*lowest, value) : value;
  highest = highest ? std::max(*highest, value) : value;
}

Summary::Summary(int logLevel) : mLogLevel(logLevel) {}

void Summary::AddUpdate(std::uint32_t frame, std::vector<NSCam::Utils::SensorData> const& batch,
                        FrameMessages const& messages, std::int64_t updateNs) {
  mFacts.AddBatch(frame, batch.size(), messages.batch, messages.split);
  mFacts.AddSamples(frame, batch);
  mUpdateNs += updateNs;
}

void Summary::AddComplete(FrameResult const& result) {
  if (result.readoutDistance) mFacts.AddReadoutDistance(result.match, *result.readoutDistance);
}

BatchCounts Summary::Batches() const {
  BatchCounts counts;
  if (mLogLevel != 0) counts.split = mFacts.batches().split;
  if (mLogLevel >= 4) counts.dropped = mFacts.batches().discarded;
  return counts;
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
  if (result.match == Match::kCarried && result.spanAgeUs) {
    if (*result.spanAgeUs < 0) ++mCarriedLater;
    if (*result.spanAgeUs >= 0) mCarriedAgeUs.Add(*result.spanAgeUs);
  }
  if (result.match == Match::kNoWindow && result.historySamples && *result.historySamples < kWindowSize) {
    ++mShortHistory;
    mLongestShortHistory = std::max(mLongestShortHistory, *result.historySamples);
  }
  mCalculateNs += calculateNs;
}

void Summary::AddAnswer(bool isAsRecorded) {
  ++mRecordedAnswers;
  if (!isAsRecorded) ++mDifferentAnswers;
}

double Summary::RecordedNs() const { return static_cast<double>(mLatestNs - mEarliestNs); }

}  // namespace shadingctl
