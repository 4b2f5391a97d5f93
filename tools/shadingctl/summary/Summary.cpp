#include "tools/shadingctl/summary/Summary.h"

#include <algorithm>

namespace shadingctl {

void Range::Add(double value) {
  lowest = lowest ? std::min(*lowest, value) : value;
  highest = highest ? std::max(*highest, value) : value;
}

Summary::Summary(int logLevel) : mLogLevel(logLevel) {}

void Summary::Add(PlayedUpdate const& update) {
  if (update.beginsHistory) mFacts.BeginHistory();
  mFacts.AddBatch(update.frame, update.batch.size(), update.stored, update.split, update.callNs);
  mFacts.AddSamples(update.frame, update.batch);
  mUpdateNs += update.updateNs;
}

void Summary::Add(PlayedFrame const& frame) {
  Add(frame.frame, frame.callNs);
  mCalculateNs += frame.calculateNs;
  if (frame.silentNs) mSilentCalculateNs.Add(*frame.silentNs);
  if (!frame.isAsRecorded) return;
  ++mRecordedAnswers;
  if (!*frame.isAsRecorded) ++mDifferentAnswers;
}

void Summary::AddComplete(FrameResult const& row) {
  if (row.readoutDistance) mFacts.AddReadoutDistance(row.match, *row.readoutDistance);
}

BatchCounts Summary::Batches() const {
  BatchCounts counts;
  if (mLogLevel != 0) counts.split = mFacts.Batches().split;
  if (mLogLevel >= 4) counts.dropped = mFacts.Batches().discarded.count;
  return counts;
}

void Summary::Add(Frame const& frame, std::optional<std::uint64_t> callNs) {
  FrameResult const& result = frame.row;
  mFacts.AddFrame(frame, callNs);
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
}

double Summary::RecordedNs() const { return static_cast<double>(mLatestNs - mEarliestNs); }

}  // namespace shadingctl
