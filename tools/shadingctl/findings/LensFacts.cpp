#include "tools/shadingctl/findings/LensFacts.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace shadingctl {
namespace {

constexpr std::size_t kWindowSamples = 100;        // at least
constexpr std::size_t kMostWindowSamples = 65536;  // that are in memory at a time
constexpr std::size_t kMostKept = 8192;
constexpr std::int64_t kRepeatPart = 4;       // of the interval before: a repeated sample comes sooner
constexpr std::int64_t kLongestInterval = 2;  // intervals; over a longer pause the lens may go anywhere
constexpr std::int64_t kAdaption = 8;         // an interval that nothing keeps up with shrinks by this part
constexpr std::int64_t kLongestNs = INT64_MAX / 8;
constexpr std::uint32_t kFewIgnored = 8;     // a batch repeats fewer; more come while a clock catches up
constexpr std::uint32_t kMostIgnored = 100;  // then the clock was set back, and the samples are new
constexpr std::uint64_t kLife = 10;          // changes of a position
constexpr double kStillBelow = 2.5;          // noise alone reached 1.9, a tripod 15

}  // namespace

void LensFacts::Add(std::uint32_t frame, std::int64_t timeNs, double x, double y) {
  if (!std::isfinite(x) || !std::isfinite(y)) return;
  if (mBefore && timeNs <= mBefore->timeNs && ++mIgnored < kMostIgnored) return;
  if (mBefore && timeNs <= mBefore->timeNs) mBefore.reset();
  bool const isAfterRepeats = std::exchange(mIgnored, 0) >= kFewIgnored;
  LensSample sample = {timeNs, frame, {x, y}, false};
  if (mBefore) {
    std::uint64_t const distanceNs = static_cast<std::uint64_t>(timeNs) - static_cast<std::uint64_t>(mBefore->timeNs);
    auto const intervalNs = static_cast<std::int64_t>(std::min<std::uint64_t>(distanceNs, kLongestNs));
    if (intervalNs * kRepeatPart < mIntervalNs) {
      mIntervalNs -= mIntervalNs / kAdaption;
      return;
    }
    bool const isGap = mIntervalNs != 0 && intervalNs > kLongestInterval * mIntervalNs;
    sample.follows = !isGap && !isAfterRepeats;
    mIntervalNs = !isGap ? intervalNs : kLongestInterval * mIntervalNs;
    for (std::size_t axis = 0; axis < 2; ++axis) {
      double const step = std::abs(sample.at[axis] - mBefore->at[axis]);
      if (step > 0 && (mGrains[axis] == 0 || step < mGrains[axis])) mGrains[axis] = step;
      AddToRun(mRuns[axis], sample, step == 0);
    }
  } else {
    for (FlatRun& run : mRuns) AddToRun(run, sample, false);
    mWindow.clear();
  }
  Keep(sample);
  mBefore = sample;
  mWindow.push_back(sample);
  bool const isFull = mWindow.size() >= kMostWindowSamples;
  bool const isLong = DifferenceNs(timeNs, mWindow.front().timeNs) >= kWindowNs && mWindow.size() > kWindowSamples;
  if (!isFull && !isLong) return;
  mWindows.push_back(WindowOf(mWindow));
  mWindow.erase(mWindow.begin(), mWindow.end() - 1);
}

bool LensFacts::IsLong(FlatRun const& run) {
  return run.open && run.samples >= kWindowSamples &&
         DifferenceNs(run.open->interval.toNs, run.open->interval.fromNs) >= kWindowNs;
}

void LensFacts::AddToRun(FlatRun& run, LensSample const& sample, bool isSame) const {
  if (isSame && run.open) {
    run.open->interval.toNs = sample.timeNs;
    run.open->interval.lastFrame = sample.frame;
    ++run.samples;
    return;
  }
  if (IsLong(run)) run.done.push_back(*run.open);
  run.open = {{sample.timeNs, sample.timeNs, sample.frame, sample.frame}, run.changes >= kLife};
  run.samples = 1;
  if (mBefore) ++run.changes;
}

std::vector<FlatStretch> LensFacts::FlatStretches(std::size_t axis) const {
  FlatRun const& run = mRuns[axis];
  std::vector<FlatStretch> all = run.done;
  if (IsLong(run)) all.push_back(*run.open);
  return all;
}

// Keeps the sample, or every second one, or fourth, and so on.
void LensFacts::Keep(LensSample const& sample) {
  if (mSamples++ % mStride != 0) return;
  Kept kept;
  for (std::size_t axis = 0; axis < 2; ++axis) {
    kept.at[axis] = static_cast<float>(sample.at[axis]);
    kept.step[axis] = sample.follows ? static_cast<float>(std::abs(sample.at[axis] - mBefore->at[axis])) : 0;
  }
  mKept.push_back(kept);
  if (mKept.size() < kMostKept) return;
  for (std::size_t i = 0; i < kMostKept / 2; ++i) mKept[i] = mKept[2 * i];
  mKept.resize(kMostKept / 2);
  mStride *= 2;
}

double LensFacts::Axis::At(double share) const {
  return positions[static_cast<std::size_t>(share * static_cast<double>(positions.size() - 1))];
}

LensFacts::Axis LensFacts::AxisOf(std::size_t axis) const {
  Axis all;
  for (Kept const& kept : mKept) {
    all.positions.push_back(static_cast<double>(kept.at[axis]));
    all.steps.push_back(static_cast<double>(kept.step[axis]));
  }
  std::sort(all.positions.begin(), all.positions.end());
  std::sort(all.steps.begin(), all.steps.end());
  all.grain = mGrains[axis];
  if (!all.positions.empty()) all.range = all.At(0.95) - all.At(0.05);
  std::vector<double> noises;
  all.isStill = !mWindows.empty();
  for (LensWindow const& window : mWindows) {
    noises.push_back(window.axes[axis].noise);
    all.isStill = all.isStill && window.axes[axis].stillness < kStillBelow;
  }
  if (noises.empty()) return all;
  auto const middle = noises.begin() + static_cast<std::ptrdiff_t>(noises.size() / 2);
  std::nth_element(noises.begin(), middle, noises.end());
  all.noise = *middle;
  return all;
}

std::uint32_t LensFacts::HeldFor() const {
  std::vector<std::uint32_t> held;
  for (LensWindow const& window : mWindows) held.push_back(std::max(window.heldFor, 1U));
  if (held.empty()) return 1;
  auto const middle = held.begin() + static_cast<std::ptrdiff_t>((held.size() - 1) / 2);
  std::nth_element(held.begin(), middle, held.end());
  return *middle;
}

}  // namespace shadingctl
