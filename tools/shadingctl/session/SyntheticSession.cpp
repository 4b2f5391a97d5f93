#include "tools/shadingctl/session/SyntheticSession.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

namespace shadingctl {
namespace {

constexpr std::int64_t kFirstFrameNs = 1000000000000;        // any time that looks like a phone's
constexpr std::int64_t kWarmUpNs = 20000000;                 // the stabiliser runs so long before the first frame
constexpr std::int64_t kLongestRollingShutterNs = 15980096;  // that of a 60 Hz mode
constexpr std::int64_t kDeliveryDelayNs = 1000000;           // from the end of the readout to the delivery
constexpr std::int64_t kLongestExposureNs = 10000000;
constexpr std::int64_t kShortestExposureNs = 4000000;
constexpr std::int64_t kExposureTurn = 300;       // frames from the longest exposure to the shortest, and back
constexpr std::size_t kRepeated = 4;              // samples at most that a batch repeats
constexpr std::int64_t kRepeatedShiftNs = 20000;  // a repeated sample's time differs by at most this
constexpr double kHallSteps = 1e6;                // a position is a multiple of 1/1000000

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
constexpr double kNoise = 0.05;  // pixels

// A number in [-1, 1). The standard distributions differ from library to library; this does not.
double Chance(std::mt19937_64& source) { return static_cast<double>(source() >> 11U) * 0x1p-52 - 1.0; }

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
float Position(Swing const (&swings)[N], std::int64_t sinceStartNs, double noise) {
  constexpr std::int64_t kMilliTurnNs = 1000000000000;  // ns * mHz in one turn
  double position = kNoise * noise;
  for (Swing const& swing : swings) {
    std::int64_t const part = (sinceStartNs % kMilliTurnNs) * swing.milliHertz % kMilliTurnNs;
    position += swing.amplitude * Sine(swing.start + static_cast<double>(part) / static_cast<double>(kMilliTurnNs));
  }
  return static_cast<float>(static_cast<double>(std::llround(position * kHallSteps)) / kHallSteps);
}

// Up and down between the two, once in 2 * kExposureTurn frames.
std::int64_t ExposureNs(std::uint32_t index) {
  std::int64_t const phase = std::int64_t{index} % (2 * kExposureTurn);
  std::int64_t const down = std::min(phase, 2 * kExposureTurn - phase);
  return kLongestExposureNs - (kLongestExposureNs - kShortestExposureNs) * down / kExposureTurn;
}

}  // namespace

SyntheticSession::SyntheticSession(SyntheticOptions const& options)
    : mOptions(options),
      mDropSpacing(options.drop > 0 ? static_cast<std::uint32_t>(std::llround(1.0 / options.drop)) : 0),
      mSampleChance(options.seed),
      mOverlapChance(options.seed + 1),
      mDropChance(options.seed + 2) {
  mOptions.lateFrames = std::min(options.lateFrames, options.MostLateFrames());
  mOptions.pauseNs = std::min(options.pauseNs, options.MostPauseNs());
}

bool SyntheticSession::Next(hosting::Call& call) {
  if (mCalls.empty() && !mStopped) QueueCalls();
  if (mCalls.empty()) return false;
  call = std::move(mCalls.front());
  mCalls.pop_front();
  return true;
}

void SyntheticSession::QueueCalls() {
  while (mNextFrame < mOptions.frames && IsDropped(mNextFrame)) ++mNextFrame;
  if (mNextFrame >= mOptions.frames) {
    Queue(hosting::StopMonitor{});
    mStopped = true;
    return;
  }
  std::uint32_t const index = mNextFrame++;
  std::int64_t const timestampNs = kFirstFrameNs + index * mOptions.frameIntervalNs;
  std::int64_t const rollingShutterNs = std::min(kLongestRollingShutterNs, mOptions.frameIntervalNs * 24 / 25);
  if (index == 0) {  // the first frame is never dropped
    Queue(hosting::StartMonitor{});
    Queue(hosting::StoreRollingShutter{0, static_cast<std::uint32_t>(rollingShutterNs)});
  }

  hosting::UpdateSensorData update;
  update.frame = index + 1;
  update.timestampNs = static_cast<std::uint64_t>(timestampNs);
  if (!IsLate(index)) update.batch = TakeSamplesUntil(timestampNs + rollingShutterNs + kDeliveryDelayNs);
  Note(update);
  Queue(std::move(update));
  hosting::CalcOisValue calc;
  calc.frame = index + 1;
  calc.pairs.fill({static_cast<std::uint64_t>(timestampNs), static_cast<std::uint64_t>(ExposureNs(index))});
  Queue(calc);
}

void SyntheticSession::Queue(decltype(hosting::Call::operation) operation) {
  mCalls.emplace_back().operation = std::move(operation);
}

// One frame in each row of mDropSpacing, never the session's first.
bool SyntheticSession::IsDropped(std::uint32_t index) {
  if (mDropSpacing == 0) return false;
  if (index % mDropSpacing == 0) mDroppedInRow = static_cast<std::uint32_t>(mDropChance() % mDropSpacing);
  return index != 0 && index % mDropSpacing == mDroppedInRow;
}

bool SyntheticSession::IsLate(std::uint32_t index) const {
  std::uint32_t const first = mOptions.frames / 5 * 2;
  return index >= first && index - first < mOptions.lateFrames;
}

SyntheticSession::Batch SyntheticSession::TakeSamplesUntil(std::int64_t timeNs) {
  Batch batch;
  RepeatEndOfBatchBefore(batch);
  for (;;) {
    if (!mPending) mPending = NextSample();
    if (mPending->timestamp > timeNs) break;
    batch.push_back(*mPending);
    mPending.reset();
  }
  for (auto const& sample : batch) mEndOfBatch.push_back(sample);
  while (mEndOfBatch.size() > kRepeated) mEndOfBatch.pop_front();
  return batch;
}

NSCam::Utils::SensorData SyntheticSession::NextSample() {
  std::int64_t const pauseNs = std::int64_t{mOptions.frames} / 10 * 7 * mOptions.frameIntervalNs + kWarmUpNs;
  std::int64_t nominalNs = mNextSample++ * mOptions.hallIntervalNs;
  if (nominalNs >= pauseNs && nominalNs < pauseNs + mOptions.pauseNs) {
    mNextSample = (pauseNs + mOptions.pauseNs + mOptions.hallIntervalNs - 1) / mOptions.hallIntervalNs;
    nominalNs = mNextSample++ * mOptions.hallIntervalNs;
  }
  auto const offNs = static_cast<std::int64_t>(Chance(mSampleChance) * static_cast<double>(mOptions.jitterNs));
  double const noiseX = Chance(mSampleChance);
  double const noiseY = Chance(mSampleChance);
  NSCam::Utils::SensorData sample;
  sample.timestamp = kFirstFrameNs - kWarmUpNs + nominalNs + offNs;
  sample.oisHallX = Position(kSwingX, nominalNs, noiseX);
  sample.oisHallY = Position(kSwingY, nominalNs, noiseY);
  return sample;
}

void SyntheticSession::RepeatEndOfBatchBefore(Batch& batch) {
  if ((Chance(mOverlapChance) + 1.0) / 2.0 >= mOptions.overlap) return;
  std::size_t const count = std::min<std::size_t>(mEndOfBatch.size(), 2 + mOverlapChance() % (kRepeated - 1));
  for (std::size_t i = mEndOfBatch.size() - count; i < mEndOfBatch.size(); ++i) {
    NSCam::Utils::SensorData repeated = mEndOfBatch[i];
    repeated.timestamp += static_cast<std::int64_t>(Chance(mOverlapChance) * static_cast<double>(kRepeatedShiftNs));
    batch.push_back(repeated);
  }
}

void SyntheticSession::Note(hosting::UpdateSensorData const& update) {
  auto const count = [&](hosting::Oddity& oddity) {
    if (oddity.count++ == 0) oddity.firstPlace = fmt::format("frame {}", update.frame);
  };
  if (update.batch.empty()) count(mOddities.framesWithoutSamples);
  for (auto const& sample : update.batch) {
    if (mLastSampleNs && sample.timestamp < *mLastSampleNs) count(mOddities.sampleTimesBackward);
    mLastSampleNs = sample.timestamp;
  }
}

}  // namespace shadingctl
