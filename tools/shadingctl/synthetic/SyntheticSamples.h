// The samples that a stabiliser takes, and the batches in which they are delivered.
#pragma once

#include <cstdint>
#include <deque>
#include <optional>
#include <random>
#include <vector>

#include "platform/SensorProvider.h"
#include "tools/shadingctl/synthetic/LensMotion.h"
#include "tools/shadingctl/synthetic/SyntheticOptions.h"

namespace shadingctl {

struct TakenSample {
  std::int64_t timeNs = 0;  // when it was taken, on the clock of the frames
  NSCam::Utils::SensorData sample;
};

// When the lens begins to move and the first sample is taken, jitter aside.
std::int64_t FirstSampleNs(SyntheticOptions const& options, std::int64_t firstFrameNs);

// One camera's samples, one after the other.
class SyntheticSamples {
 public:
  using Taken = TakenSample;  // not nested: clang would not let an optional make one

  // `options` must outlive it.
  SyntheticSamples(SyntheticOptions const& options, std::int64_t firstFrameNs, std::uint64_t seed);

  // The next sample that comes; it stays the next until Pop.
  Taken const& Next();
  void Pop() { mNext.reset(); }

 private:
  std::int64_t StampNs(std::int64_t takenNs, std::int64_t nominalNs) const;
  std::int64_t NextNominalNs();
  double RisenAt(std::int64_t nominalNs) const;
  LensPoint ReadingAt(std::int64_t nominalNs, double noiseX, double noiseY);
  std::optional<double> Amount(EventKind kind, std::int64_t nominalNs) const;

  SyntheticOptions const& mOptions;
  std::int64_t mFirstNs;
  std::int64_t mPauseNs;  // since the first sample
  std::int64_t mNextIndex = 0;
  std::optional<Taken> mNext;
  LensPoint mBefore;  // the reading before
  std::mt19937_64 mChance;
};

// The batches of one camera's frames. Holds a few frames' samples at a time.
class SyntheticBatches {
 public:
  using Batch = std::vector<NSCam::Utils::SensorData>;

  // `options` must outlive it.
  SyntheticBatches(SyntheticOptions const& options, std::int64_t firstFrameNs, std::uint64_t seed);

  // The batch of the frame with this index at this time: all samples taken until then and not delivered before.
  Batch Take(std::uint32_t frameIndex, std::int64_t timeNs);

 private:
  bool IsLate(std::uint32_t frameIndex) const;
  bool IsLost(std::int64_t timeNs);
  Batch RepeatedEnd();

  SyntheticOptions const& mOptions;
  std::int64_t mFirstFrameNs;
  SyntheticSamples mSamples;
  Batch mBefore;                                     // the batch before, as it came
  std::deque<NSCam::Utils::SensorData> mEndOfBatch;  // the last samples that came

  // One source of chance for each subject: another overlap leaves the motion as it was.
  std::mt19937_64 mOverlapChance;
  std::mt19937_64 mLostChance;
  std::mt19937_64 mDiscardChance;
};

}  // namespace shadingctl
