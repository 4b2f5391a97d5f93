#include "tools/shadingctl/synthetic/SyntheticSamples.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace shadingctl {
namespace {

constexpr std::int64_t kWarmUpNs = 20000000;      // the stabiliser runs so long before the first frame
constexpr std::int64_t kTurnNs = 1000000000;      // that an axis is driven while the other one rests
constexpr std::int64_t kSpikeInterval = 97;       // samples from one spike to the next
constexpr std::size_t kRepeated = 4;              // samples at most that a batch repeats
constexpr std::int64_t kRepeatedShiftNs = 20000;  // a repeated sample's time differs by at most this

constexpr double kHallSteps = 1e6;  // a position is a multiple of 1/1000000
constexpr double kNoise = 0.05;     // pixels of lens shift

// A component of the hand's motion. Frequencies in mHz, amplitudes in pixels of lens shift.
struct Swing {
  std::int64_t milliHertz;
  double amplitude;
  double start;  // turns
};
constexpr Swing kSwingX[] = {
    {700, 28.0, 0.10}, {1900, 14.0, 0.35}, {4300, 9.0, 0.60}, {8900, 5.0, 0.85}, {11600, 2.0, 0.20}};
constexpr Swing kSwingY[] = {
    {500, 24.0, 0.40}, {2300, 16.0, 0.15}, {3700, 8.0, 0.75}, {7900, 6.0, 0.05}, {12000, 2.5, 0.55}};

// The sine of `turns` in [0, 2). Made of additions and multiplications, which are the same on every machine.
double Sine(double turns) {
  if (turns >= 1.0) turns -= 1.0;
  double const quarters = 4.0 * turns;
  double const folded = quarters < 1.0 ? quarters : quarters < 3.0 ? 2.0 - quarters : quarters - 4.0;
  double const angle = 1.5707963267948966 * folded;
  double const square = angle * angle;
  return angle * (1.0 + square * (-1.0 / 6 + square * (1.0 / 120 + square * (-1.0 / 5040 + square / 362880))));
}

template <std::size_t N>
double SumOf(Swing const (&swings)[N], std::int64_t sinceFirstNs, double noise) {
  constexpr std::int64_t kMilliTurnNs = 1000000000000;  // ns * mHz in one turn
  double position = kNoise * noise;
  for (Swing const& swing : swings) {
    std::int64_t const part = (sinceFirstNs % kMilliTurnNs) * swing.milliHertz % kMilliTurnNs;
    position += swing.amplitude * Sine(swing.start + static_cast<double>(part) / static_cast<double>(kMilliTurnNs));
  }
  return position;
}

template <std::size_t N>
float AxisAt(Swing const (&swings)[N], std::int64_t sinceFirstNs, double noise, LensTrouble const& trouble) {
  double position = SumOf(swings, sinceFirstNs, noise);
  if (trouble.endStop) {
    position = std::clamp(SumOf(swings, sinceFirstNs, 0), -*trouble.endStop, *trouble.endStop) + kNoise * noise;
  }
  if (trouble.grain > 0) position = trouble.grain * std::round(position / trouble.grain);
  return static_cast<float>(static_cast<double>(std::llround(position * kHallSteps)) / kHallSteps);
}

}  // namespace

LensPoint LensAt(std::int64_t sinceFirstNs, double noiseX, double noiseY, LensTrouble const& trouble) {
  return {AxisAt(kSwingX, sinceFirstNs, noiseX, trouble), AxisAt(kSwingY, sinceFirstNs, noiseY, trouble)};
}

std::int64_t FirstSampleNs(SyntheticOptions const& options, std::int64_t firstFrameNs) {
  return firstFrameNs - kWarmUpNs + options.hallPhaseNs;
}

SyntheticSamples::SyntheticSamples(SyntheticOptions const& options, std::int64_t firstFrameNs, std::uint64_t seed)
    : mOptions(options),
      mFirstNs(FirstSampleNs(options, firstFrameNs)),
      mPauseNs(std::int64_t{options.frames} / 10 * 7 * options.frameIntervalNs + kWarmUpNs),
      mChance(seed) {}

std::optional<double> SyntheticSamples::Amount(EventKind kind, std::int64_t nominalNs) const {
  return AmountOf(mOptions.events, kind, nominalNs - kWarmUpNs);
}

std::int64_t SyntheticSamples::NextNominalNs() {
  std::int64_t const intervalNs = mOptions.hallIntervalNs;
  std::int64_t nominalNs = mNextIndex++ * intervalNs;
  if (nominalNs >= mPauseNs && nominalNs < mPauseNs + mOptions.pauseNs) {
    mNextIndex = (mPauseNs + mOptions.pauseNs + intervalNs - 1) / intervalNs;
    nominalNs = mNextIndex++ * intervalNs;
  }
  if (auto const every = Amount(EventKind::kRate, nominalNs)) {
    while (nominalNs / intervalNs % std::llround(*every) != 0) nominalNs = mNextIndex++ * intervalNs;
  }
  return nominalNs;
}

TakenSample const& SyntheticSamples::Next() {
  if (mNext) return *mNext;
  std::int64_t const nominalNs = NextNominalNs();
  auto const offNs = static_cast<std::int64_t>(Chance(mChance) * static_cast<double>(mOptions.jitterNs));
  double const noiseX = Chance(mChance);
  double const noiseY = Chance(mChance);
  LensPoint const lens = ReadingAt(nominalNs, noiseX, noiseY);
  mNext.emplace();
  mNext->timeNs = mFirstNs + nominalNs + offNs;
  mNext->sample.timestamp = StampNs(mNext->timeNs, nominalNs);
  mNext->sample.oisHallX = lens.x;
  mNext->sample.oisHallY = lens.y;
  return *mNext;
}

// What the sensor says of the lens, right or wrong.
LensPoint SyntheticSamples::ReadingAt(std::int64_t nominalNs, double noiseX, double noiseY) {
  auto const lensAt = [&](std::int64_t ns, double x, double y) {
    return LensAt(mOptions.MotionFromNs() + ns, x, y, mOptions.lens);
  };
  auto const amount = [&](EventKind kind) { return Amount(kind, nominalNs); };
  std::int64_t const index = nominalNs / mOptions.hallIntervalNs;
  LensPoint lens = lensAt(nominalNs, noiseX, noiseY);
  LensPoint const resting = lensAt(0, noiseX, noiseY);
  if (Event const* const hand = EventOf(mOptions.events, EventKind::kHand)) {  // takes the phone, in half a second
    double const sinceS = static_cast<double>(nominalNs - kWarmUpNs - hand->fromNs) / 1e9;
    double const risen = std::clamp(2 * sinceS, 0.0, 1.0);
    LensPoint const moved = lensAt(nominalNs, 0, 0);
    LensPoint const start = lensAt(0, 0, 0);
    auto const share = static_cast<float>(hand->amount + (1 - hand->amount) * risen);
    if (risen < 1) lens = {resting.x + share * (moved.x - start.x), resting.y + share * (moved.y - start.y)};
  }
  if (amount(EventKind::kTurns)) {
    std::int64_t const turnNs = nominalNs % (2 * kTurnNs);
    std::int64_t const doneNs = nominalNs / (2 * kTurnNs) * kTurnNs;
    lens.x = lensAt(doneNs + std::min(turnNs, kTurnNs), noiseX, noiseY).x;
    lens.y = lensAt(doneNs + std::max<std::int64_t>(turnNs - kTurnNs, 0), noiseX, noiseY).y;
  }
  if (amount(EventKind::kNoise)) lens = resting;
  if (amount(EventKind::kNoiseX)) lens.x = resting.x;
  auto const every = amount(EventKind::kHeld);
  bool const isFrozen = amount(EventKind::kFreeze) || (every && index % std::llround(*every) != 0);
  if (isFrozen || amount(EventKind::kFreezeX)) lens.x = mBefore.x;
  if (isFrozen || amount(EventKind::kFreezeY)) lens.y = mBefore.y;
  if (amount(EventKind::kZeros)) lens = {};
  mBefore = lens;
  auto const flips = amount(EventKind::kFlips);
  if (flips && index / std::llround(*flips) % 2 == 1) lens = {-lens.x, -lens.y};
  auto const spikes = amount(EventKind::kSpikes);
  if (spikes && index % kSpikeInterval == 0) lens.x += static_cast<float>(*spikes);
  return lens;
}

std::int64_t SyntheticSamples::StampNs(std::int64_t takenNs, std::int64_t nominalNs) const {
  ClockTrouble const& clock = mOptions.clock;
  std::int64_t stampNs = takenNs + clock.offsetNs + std::llround(1e3 * Amount(EventKind::kJump, nominalNs).value_or(0));
  if (auto const ppm = Amount(EventKind::kDrift, nominalNs)) {
    stampNs += std::llround(*ppm * 1e-6 * static_cast<double>(nominalNs - kWarmUpNs));
  }
  return stampNs / clock.unitNs;
}

SyntheticBatches::SyntheticBatches(SyntheticOptions const& options, std::int64_t firstFrameNs, std::uint64_t seed)
    : mOptions(options),
      mFirstFrameNs(firstFrameNs),
      mSamples(options, firstFrameNs, seed),
      mOverlapChance(seed + 1),
      mLostChance(seed + 3),
      mDiscardChance(seed + 4) {}

SyntheticBatches::Batch SyntheticBatches::Take(std::uint32_t frameIndex, std::int64_t timeNs) {
  std::uint32_t const firstLate = mOptions.frames / 5 * 2;
  if (frameIndex >= firstLate && frameIndex - firstLate < mOptions.lateFrames) return {};
  Batch batch = RepeatedEnd();
  // The library discards a batch that begins with samples delivered before, whatever follows them.
  if (Happens(mDiscardChance, mOptions.discarded) && !mBefore.empty()) batch = mBefore;
  std::int64_t const latencyNs =
      std::llround(1e3 * AmountOf(mOptions.events, EventKind::kPlatform, timeNs - mFirstFrameNs).value_or(0));
  for (; mSamples.Next().timeNs <= timeNs - latencyNs; mSamples.Pop()) batch.push_back(mSamples.Next().sample);
  if (IsLost(timeNs)) return {};
  mEndOfBatch.insert(mEndOfBatch.end(), batch.begin(), batch.end());
  while (mEndOfBatch.size() > kRepeated) mEndOfBatch.pop_front();
  mBefore = batch;
  return batch;
}

bool SyntheticBatches::IsLost(std::int64_t timeNs) {
  bool const isLost = Happens(mLostChance, mOptions.lost);
  auto const lastsUs = AmountOf(mOptions.events, EventKind::kOutage, timeNs - mFirstFrameNs);
  if (!lastsUs) return isLost;
  std::int64_t const endNs = mFirstFrameNs + std::llround(1e3 * *lastsUs);
  return isLost || !AmountOf(mOptions.events, EventKind::kOutage, timeNs - endNs);
}

SyntheticBatches::Batch SyntheticBatches::RepeatedEnd() {
  Batch batch;
  if (!Happens(mOverlapChance, mOptions.overlap)) return batch;
  std::size_t const wanted = 2 + mOverlapChance() % (kRepeated - 1);
  // Never all of the batch before, which the library would take for a reason to discard this one.
  std::size_t const count = std::min({mEndOfBatch.size(), wanted, std::max<std::size_t>(mBefore.size(), 1) - 1});
  for (std::size_t i = mEndOfBatch.size() - count; i < mEndOfBatch.size(); ++i) {
    NSCam::Utils::SensorData& repeated = batch.emplace_back(mEndOfBatch[i]);
    repeated.timestamp += static_cast<std::int64_t>(Chance(mOverlapChance) * static_cast<double>(kRepeatedShiftNs));
  }
  return batch;
}

}  // namespace shadingctl
