// The lens of a hand-held phone, the samples that a stabiliser takes of it, and the batches in which they are
// delivered.
#pragma once

#include <cstdint>
#include <deque>
#include <optional>
#include <random>
#include <vector>

#include "platform/SensorProvider.h"
#include "tools/shadingctl/synthetic/SyntheticOptions.h"

namespace shadingctl {

// A number in [-1, 1), the same on every machine: the distributions of the standard libraries differ.
inline double Chance(std::mt19937_64& source) { return static_cast<double>(source() >> 11U) * 0x1p-52 - 1.0; }

// True in this share of the cases.
inline bool Happens(std::mt19937_64& source, double share) { return (Chance(source) + 1.0) / 2.0 < share; }

struct LensPoint {
  float x = 0;
  float y = 0;
};

// The position at a time >= 0 since the first sample. The noises lie in [-1, 1). Uses exact floating-point operations
// only, so the result is the same on every machine: a multiple of 1/1000000.
LensPoint LensAt(std::int64_t sinceFirstNs, double noiseX, double noiseY, LensTrouble const& trouble);

struct TakenSample {
  std::int64_t timeNs = 0;  // when it was taken, on the clock of the frames
  NSCam::Utils::SensorData sample;
};

// When the lens begins to move and the first sample is taken, jitter aside.
std::int64_t FirstSampleNs(SyntheticOptions const& options, std::int64_t firstFrameNs);

// One camera's samples, one after the other.
class SyntheticSamples {
 public:
  // `options` must outlive it.
  SyntheticSamples(SyntheticOptions const& options, std::int64_t firstFrameNs, std::uint64_t seed);

  // The next sample that comes; it stays the next until Pop.
  TakenSample const& Next();
  void Pop() { mNext.reset(); }

 private:
  std::int64_t StampNs(std::int64_t takenNs, std::int64_t nominalNs) const;
  std::int64_t NextNominalNs();
  LensPoint ReadingAt(std::int64_t nominalNs, double noiseX, double noiseY);
  std::optional<double> Amount(EventKind kind, std::int64_t nominalNs) const;

  SyntheticOptions const& mOptions;
  std::int64_t mFirstNs;
  std::int64_t mPauseNs;  // since the first sample
  std::int64_t mNextIndex = 0;
  std::optional<TakenSample> mNext;
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
