// The closing summary of a replay, gathered frame by frame.
#pragma once

#include <array>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "hosting/Session.h"
#include "tools/shadingctl/findings/SessionFacts.h"
#include "tools/shadingctl/frames/FrameResult.h"
#include "tools/shadingctl/statistics/Histogram.h"
#include "tools/shadingctl/statistics/SampleHealth.h"

namespace shadingctl {

// The smallest and the largest of some values; empty before the first.
struct Range {
  std::optional<double> lowest;
  std::optional<double> highest;
  void Add(double value);
};

// What the library did with the batches, told by its messages.
struct BatchCounts {
  std::optional<std::uint64_t> split;    // empty below log level 1
  std::optional<std::uint64_t> dropped;  // empty below log level 4
};

// Constant memory, however long the session is.
class Summary {
 public:
  explicit Summary(int logLevel);

  // The durations are those of the library's calls.
  void AddUpdate(std::uint32_t frame, std::vector<NSCam::Utils::SensorData> const& batch, FrameMessages const& messages,
                 std::int64_t updateNs);
  void Add(FrameResult const& result, std::int64_t calculateNs);
  void AddFacts(FrameFacts const& facts) { mFacts.AddFrame(facts); }
  // The same result once all samples of its readout are there.
  void AddComplete(FrameResult const& result);
  // The camera's monitor starts with an empty history.
  void BeginHistory() { mFacts.BeginHistory(); }
  // An answer that the recording holds too.
  void AddAnswer(bool isAsRecorded);
  void AddSilentCalculation(std::int64_t calculateNs) { mSilentCalculateNs.Add(calculateNs); }  // at log level 0

  std::uint64_t differentAnswers() const { return mDifferentAnswers; }
  SessionFacts const& facts() const { return mFacts; }
  SessionFacts& facts() { return mFacts; }

  std::string Text() const;
  nlohmann::ordered_json Json() const;

  double RecordedNs() const;  // from the earliest frame to the latest
  std::uint64_t frames() const { return mFrames; }
  std::uint64_t CountOf(Match match) const { return mMatches[static_cast<std::size_t>(match)]; }

 private:
  BatchCounts Batches() const;
  std::string EndsText() const;
  std::uint64_t WarmFrames() const { return mFrames - CountOf(Match::kWarmUp); }
  std::string MatchText() const;
  std::string CarriedText() const;
  std::string HistoryText() const;
  std::string LibraryText() const;

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
