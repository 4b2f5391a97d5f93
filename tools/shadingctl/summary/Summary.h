// The closing summary of a replay, gathered frame by frame.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>

#include "recording/Session.h"
#include "tools/shadingctl/findings/SessionFacts.h"
#include "tools/shadingctl/frame/Frame.h"
#include "tools/shadingctl/output/Json.h"
#include "tools/shadingctl/replay/Replay.h"
#include "tools/shadingctl/statistics/Histogram.h"
#include "tools/shadingctl/statistics/SampleHealth.h"
#include "tools/shadingctl/summary/Percentiles.h"

namespace shadingctl {

// Constant memory, however long the session is.
class Summary {
 public:
  explicit Summary(int logLevel) : mLogLevel(logLevel) {}

  void Add(PlayedUpdate const& update);
  void Add(PlayedFrame const& frame);
  // Of a frame whose call was not played.
  void Add(Frame const& frame, std::optional<std::uint64_t> callNs = std::nullopt);
  // The row of a frame that was added, once all samples of its readout are there.
  void AddComplete(FrameResult const& row);

  std::uint64_t DifferentAnswers() const { return mDifferentAnswers; }
  SessionFacts const& Facts() const { return mFacts; }
  SessionFacts& Facts() { return mFacts; }

  std::string Text() const;
  Json ToJson() const;

  double RecordedNs() const;  // from the earliest frame to the latest
  std::uint64_t Frames() const { return mFrames; }
  std::uint64_t CountOf(Match match) const { return mMatches[static_cast<std::size_t>(match)]; }

 private:
  // A count that the library's messages tell from this log level on.
  std::optional<std::uint64_t> ToldFrom(int level, std::uint64_t count) const {
    return mLogLevel >= level ? std::optional(count) : std::nullopt;
  }
  std::string EndsText() const;
  std::uint64_t WarmFrames() const { return mFrames - CountOf(Match::kWarmUp); }
  std::string MatchText() const;
  std::string CarriedText() const;
  std::string HistoryText() const;
  std::string LibraryText() const;
  std::string SamplesText() const;

  int mLogLevel;
  std::uint64_t mFrames = 0;
  std::uint32_t mFirstFrame = 0;
  std::uint32_t mLastFrame = 0;
  std::uint64_t mEarliestNs = 0;
  std::uint64_t mLatestNs = 0;
  std::array<std::uint64_t, kMatchCount> mMatches{};
  Range mHallX;  // of the frames that got a position
  Range mHallY;
  Histogram mCarriedAgeUs;          // of those that are not later than the frame
  std::uint64_t mCarriedLater = 0;  // the others
  std::uint64_t mShortHistory = 0;  // frames after the warm-up whose history was too short all the same
  std::uint64_t mLongestShortHistory = 0;
  std::int64_t mUpdateNs = 0;
  std::int64_t mCalculateNs = 0;
  Histogram mSilentCalculateNs;
  SessionFacts mFacts;
  std::uint64_t mRecordedAnswers = 0;
  std::uint64_t mDifferentAnswers = 0;
};

}  // namespace shadingctl
