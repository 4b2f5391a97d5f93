// A session made from a seed: hand-held motion, and the irregularities that a phone shows.
#pragma once

#include <cstdint>
#include <deque>
#include <optional>
#include <random>
#include <vector>

#include "hosting/Session.h"

namespace shadingctl {

struct SyntheticOptions {
  std::uint32_t frames = 300;               // numbered from 1, the dropped ones included
  std::int64_t frameIntervalNs = 16666667;  // 60 frames a second
  std::int64_t hallIntervalNs = 1000000;    // 1 kHz
  std::int64_t jitterNs = 80000;            // a sample's time is off by at most this
  double overlap = 0.5;                     // share of the batches that repeat the end of the batch before
  double drop = 0.01;                       // share of the frames that are missing
  std::uint32_t lateFrames = 8;             // so many frames in a row get their samples only afterwards; at most 1/5
  std::int64_t pauseNs = 20000000;          // once, the stabiliser takes no sample for so long; at most 1/5
  std::uint64_t seed = 1;

  // What the constructor of SyntheticSession reduces the two troubles to, lest they swallow a short session.
  std::uint32_t MostLateFrames() const { return frames / 5; }
  std::int64_t MostPauseNs() const { return frames / 5 * frameIntervalNs; }
};

// The same everywhere for the same options: integers and exact floating-point steps only, in a fixed order. Holds a few
// frames' samples at a time.
class SyntheticSession : public hosting::Session {
 public:
  explicit SyntheticSession(SyntheticOptions const& options);

  std::string Name() const override { return "built-in session"; }
  hosting::Settings const& settings() const override { return mSettings; }
  bool Next(hosting::Call& call) override;
  hosting::Oddities const& oddities() const override { return mOddities; }
  std::optional<std::uint64_t> FrameCount() const override { return mOptions.frames; }

 private:
  using Batch = std::vector<NSCam::Utils::SensorData>;

  void QueueCalls();  // of the next frame, or those at the end
  void Queue(decltype(hosting::Call::operation) operation);
  bool IsDropped(std::uint32_t index);
  bool IsLate(std::uint32_t index) const;
  Batch TakeSamplesUntil(std::int64_t timeNs);
  NSCam::Utils::SensorData NextSample();
  void RepeatEndOfBatchBefore(Batch& batch);
  void Note(hosting::UpdateSensorData const& update);

  SyntheticOptions mOptions;
  std::uint32_t mDropSpacing;  // one of so many frames in a row is dropped; 0: none
  std::uint32_t mDroppedInRow = 0;
  hosting::Settings mSettings;
  std::deque<hosting::Call> mCalls;  // made and not handed out yet
  bool mStopped = false;
  std::uint32_t mNextFrame = 0;  // index: the frame's number less 1
  std::int64_t mNextSample = 0;  // index
  std::optional<NSCam::Utils::SensorData> mPending;
  std::deque<NSCam::Utils::SensorData> mEndOfBatch;  // the last samples of the batch before

  // One source of chance for each subject: another overlap leaves the motion as it was.
  std::mt19937_64 mSampleChance;
  std::mt19937_64 mOverlapChance;
  std::mt19937_64 mDropChance;
  std::optional<std::int64_t> mLastSampleNs;
  hosting::Oddities mOddities;
};

}  // namespace shadingctl
