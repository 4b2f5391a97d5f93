#include "tools/shadingctl/synthetic/SyntheticSamples.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "tools/shadingctl/synthetic/Chance.h"
#include "tools/shadingctl/synthetic/LensMotion.h"

namespace shadingctl {
namespace {

constexpr std::int64_t kWarmUpNs = 20000000;      // the stabiliser runs so long before the first frame
constexpr std::size_t kRepeated = 4;              // samples at most that a batch repeats
constexpr std::int64_t kRepeatedShiftNs = 20000;  // a repeated sample's time differs by at most this

}  // namespace

std::int64_t FirstSampleNs(SyntheticOptions const& options, std::int64_t firstFrameNs) {
  return firstFrameNs - kWarmUpNs + options.hallPhaseNs;
}

SyntheticSamples::SyntheticSamples(SyntheticOptions const& options, std::int64_t firstFrameNs, std::uint64_t seed)
    : mOptions(options),
      mFirstNs(FirstSampleNs(options, firstFrameNs)),
      mPauseNs(std::int64_t{options.frames} / 10 * 7 * options.frameIntervalNs + kWarmUpNs),
      mChance(seed) {}

SyntheticSamples::Taken const& SyntheticSamples::Next() {
  if (mNext) return *mNext;
  std::int64_t const intervalNs = mOptions.hallIntervalNs;
  std::int64_t nominalNs = mNextIndex++ * intervalNs;
  if (nominalNs >= mPauseNs && nominalNs < mPauseNs + mOptions.pauseNs) {
    mNextIndex = (mPauseNs + mOptions.pauseNs + intervalNs - 1) / intervalNs;
    nominalNs = mNextIndex++ * intervalNs;
  }
  auto const offNs = static_cast<std::int64_t>(Chance(mChance) * static_cast<double>(mOptions.jitterNs));
  double const noiseX = Chance(mChance);
  double const noiseY = Chance(mChance);
  LensPoint const lens = LensAt(nominalNs, noiseX, noiseY, mOptions.lens);
  mNext.emplace();
  mNext->timeNs = mFirstNs + nominalNs + offNs;
  mNext->sample.timestamp = StampNs(mNext->timeNs, nominalNs);
  mNext->sample.oisHallX = lens.x;
  mNext->sample.oisHallY = lens.y;
  return *mNext;
}

std::int64_t SyntheticSamples::StampNs(std::int64_t takenNs, std::int64_t nominalNs) const {
  ClockTrouble const& clock = mOptions.clock;
  bool const isLaterHalf = nominalNs >= std::int64_t{mOptions.frames} * mOptions.frameIntervalNs / 2;
  return (takenNs + clock.offsetNs + (isLaterHalf ? clock.jumpNs : 0)) / clock.unitNs;
}

SyntheticBatches::SyntheticBatches(SyntheticOptions const& options, std::int64_t firstFrameNs, std::uint64_t seed)
    : mOptions(options),
      mSamples(options, firstFrameNs, seed),
      mOverlapChance(seed + 1),
      mLostChance(seed + 3),
      mDiscardChance(seed + 4) {}

bool SyntheticBatches::IsLate(std::uint32_t frameIndex) const {
  std::uint32_t const first = mOptions.frames / 5 * 2;
  return frameIndex >= first && frameIndex - first < mOptions.lateFrames;
}

SyntheticBatches::Batch SyntheticBatches::Take(std::uint32_t frameIndex, std::int64_t timeNs) {
  if (IsLate(frameIndex)) return {};
  Batch batch = RepeatedEnd();
  // The library discards a batch that begins with samples delivered before, whatever follows them.
  if (Happens(mDiscardChance, mOptions.discarded) && !mBefore.empty()) batch = mBefore;
  for (; mSamples.Next().timeNs <= timeNs; mSamples.Pop()) batch.push_back(mSamples.Next().sample);
  if (Happens(mLostChance, mOptions.lost)) return {};
  mEndOfBatch.insert(mEndOfBatch.end(), batch.begin(), batch.end());
  while (mEndOfBatch.size() > kRepeated) mEndOfBatch.pop_front();
  mBefore = batch;
  return batch;
}

SyntheticBatches::Batch SyntheticBatches::RepeatedEnd() {
  Batch batch;
  if (!Happens(mOverlapChance, mOptions.overlap)) return batch;
  std::size_t const count = std::min<std::size_t>(mEndOfBatch.size(), 2 + mOverlapChance() % (kRepeated - 1));
  for (std::size_t i = mEndOfBatch.size() - count; i < mEndOfBatch.size(); ++i) {
    NSCam::Utils::SensorData& repeated = batch.emplace_back(mEndOfBatch[i]);
    repeated.timestamp += static_cast<std::int64_t>(Chance(mOverlapChance) * static_cast<double>(kRepeatedShiftNs));
  }
  return batch;
}

}  // namespace shadingctl
