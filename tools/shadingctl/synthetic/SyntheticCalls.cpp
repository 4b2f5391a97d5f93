#include <algorithm>
#include <cmath>

#include "tools/shadingctl/synthetic/SyntheticSession.h"

namespace shadingctl {
namespace {

constexpr std::int64_t kFirstFrameNs = 1000000000000;        // any time that looks like a phone's
constexpr std::int64_t kLongestRollingShutterNs = 15980096;  // that of a 60 Hz mode
constexpr std::int64_t kStartNs = 25000000;                  // from the start of a monitor to the first frame
constexpr std::int64_t kCallNs = 50000;                      // between two calls for one frame
constexpr std::uint64_t kSeedStep = 1000;                    // from a camera's seed to the next one's

std::int64_t ValueAt(Sweep const& sweep, std::uint32_t index) {
  std::int64_t const half = kFramesOfASweep / 2;
  std::int64_t const phase = index % kFramesOfASweep;
  return sweep.fromNs + (sweep.toNs - sweep.fromNs) * std::min(phase, 2 * half - phase) / half;
}

std::uint64_t SeedOf(SyntheticOptions const& options, std::size_t camera) { return options.seed + kSeedStep * camera; }

// The camera whose samples come.
std::size_t StreamOf(SyntheticOptions const& options, std::size_t camera) {
  return AmountOf(options.events, EventKind::kShared, INT64_MAX) ? 0 : camera;
}

// The cameras' frames are spread evenly over the time of one.
std::int64_t FirstFrameNs(SyntheticOptions const& options, std::size_t camera) {
  auto const count = static_cast<std::int64_t>(options.cameras.size());
  return kFirstFrameNs + options.frameIntervalNs * static_cast<std::int64_t>(camera) / count;
}

}  // namespace

SyntheticCalls::SyntheticCalls(SyntheticOptions const& options, std::size_t camera)
    : mOptions(options),
      mCamera(options.cameras[camera]),
      mFirstFrameNs(FirstFrameNs(options, camera)),
      mDropSpacing(options.drop > 0 ? static_cast<std::uint32_t>(std::llround(1.0 / options.drop)) : 0),
      mBatches(options, FirstFrameNs(options, StreamOf(options, camera)), SeedOf(options, StreamOf(options, camera))),
      mDropChance(SeedOf(options, camera) + 2),
      mJitterChance(SeedOf(options, camera) + 5) {
  QueueStart(mFirstFrameNs - kStartNs);
}

recording::Call* SyntheticCalls::Next() {
  while (mCalls.empty() && mNextFrame < mOptions.frames) {
    std::uint32_t const index = mNextFrame++;
    if (!IsDropped(index)) QueueFrame(index);
  }
  if (mCalls.empty() && !mStopped) {
    Queue(mLastTimeNs + kCallNs, recording::StopMonitor{mCamera.sensorType});
    mStopped = true;
  }
  return mCalls.empty() ? nullptr : &mCalls.front();
}

void SyntheticCalls::QueueFrame(std::uint32_t index) {
  std::int64_t const timestampNs = mFirstFrameNs + index * mOptions.frameIntervalNs;
  Mode const mode = ModeAt(index, index);
  Mode told = ModeAt(index, index - std::min(index, mOptions.modes.lateFrames));
  if (Amount(EventKind::kNoReadout, index)) told.second = 0;
  double const jitterUs = (Chance(mJitterChance) + 1) / 2 * Amount(EventKind::kJitter, index).value_or(0);
  std::int64_t const hostNs = std::llround(1e3 * (Amount(EventKind::kHost, index).value_or(0) + jitterUs));
  std::int64_t const timeNs =
      std::max(mLastTimeNs + kCallNs, timestampNs + mode.second + mOptions.deliveryDelayNs + hostNs);
  std::uint64_t const parts = std::uint64_t{mOptions.restarts} + 1;  // of the session, each begins with a start
  if (index > 0 && index * parts / mOptions.frames != (index - 1) * parts / mOptions.frames) {
    Queue(timeNs, recording::StopMonitor{mCamera.sensorType});
    QueueStart(timeNs);
  }
  if (mStored != told) Queue(timeNs, recording::StoreRollingShutter{told.first, told.second});
  mStored = told;

  recording::UpdateSensorData update;
  update.frame = index + 1;
  update.timestampNs = ToldNs(index);
  update.batch = mBatches.Take(index, timeNs);
  bool const calculatesFirst = Amount(EventKind::kOrder, index).has_value();
  if (calculatesFirst) QueueCalculations(index, timeNs);
  Queue(mLastTimeNs < timeNs ? timeNs : mLastTimeNs + kCallNs, std::move(update));
  if (!calculatesFirst) QueueCalculations(index, mLastTimeNs + kCallNs);
}

void SyntheticCalls::QueueStart(std::int64_t timeNs) {
  recording::StartMonitor start;
  start.sensorType = mCamera.sensorType;
  Queue(timeNs, start);
  mStored.reset();
}

// Each later exposure begins where the one before it ends, as in a staggered readout.
void SyntheticCalls::QueueCalculations(std::uint32_t index, std::int64_t timeNs) {
  recording::CalcOisValue calc;
  calc.frame = index + 1;
  auto endNs = static_cast<std::int64_t>(ToldNs(index));
  std::int64_t const exposedNs = Amount(EventKind::kNoExposure, index) ? 0 : ValueAt(mOptions.exposureNs, index);
  calc.pairs.fill({static_cast<std::uint64_t>(endNs), static_cast<std::uint64_t>(exposedNs)});
  for (std::size_t i = 0; i < mOptions.laterExposuresNs.size(); ++i) {
    if (!mOptions.laterExposuresNs[i]) continue;
    std::int64_t const exposureNs = ValueAt(*mOptions.laterExposuresNs[i], index);
    endNs += exposureNs;
    calc.pairs[i + 1] = {static_cast<std::uint64_t>(endNs), static_cast<std::uint64_t>(exposureNs)};
  }
  if (mOptions.types.empty()) Queue(timeNs, calc);
  for (std::int32_t const type : mOptions.types) {
    calc.type = type;
    Queue(timeNs, calc);
    timeNs += kCallNs;
  }
}

void SyntheticCalls::Queue(std::int64_t timeNs, decltype(recording::Call::operation) operation) {
  mLastTimeNs = timeNs;
  recording::Call& call = mCalls.emplace_back();
  call.timeNs = static_cast<std::uint64_t>(timeNs);
  call.camera = mCamera.sensorId;
  call.operation = std::move(operation);
}

// One frame in each row of mDropSpacing, never the session's first.
bool SyntheticCalls::IsDropped(std::uint32_t index) {
  if (mDropSpacing == 0) return false;
  if (index % mDropSpacing == 0) mDroppedInRow = static_cast<std::uint32_t>(mDropChance() % mDropSpacing);
  return index != 0 && index % mDropSpacing == mDroppedInRow;
}

std::optional<double> SyntheticCalls::Amount(EventKind kind, std::uint32_t index) const {
  return AmountOf(mOptions.events, kind, index * mOptions.frameIntervalNs);
}

// The timestamp that the host hands over.
std::uint64_t SyntheticCalls::ToldNs(std::uint32_t index) const {
  std::int64_t toldNs = mFirstFrameNs + index * mOptions.frameIntervalNs;
  if (Amount(EventKind::kBackTimes, index) && index % 2 == 1) toldNs -= 2 * mOptions.frameIntervalNs;
  for (Event const& event : mOptions.events) {
    if (event.kind == EventKind::kSameTimes) toldNs = std::min(toldNs, mFirstFrameNs + event.fromNs);
  }
  return static_cast<std::uint64_t>(toldNs);
}

// The mode of the frame `modeIndex`, with the readout time that it has at `index`.
SyntheticCalls::Mode SyntheticCalls::ModeAt(std::uint32_t index, std::uint32_t modeIndex) const {
  ModeSwitches const& modes = mOptions.modes;
  std::uint32_t const number = modes.everyFrames == 0 ? 0 : modeIndex / modes.everyFrames % 2;
  std::int64_t readoutNs = std::min(kLongestRollingShutterNs, mOptions.frameIntervalNs * 24 / 25);
  if (mOptions.readoutNs) readoutNs = ValueAt(*mOptions.readoutNs, index);
  if (number == 1) readoutNs = modes.readoutNs;
  return {number, static_cast<std::uint32_t>(readoutNs)};
}

}  // namespace shadingctl
