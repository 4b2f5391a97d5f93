#include "tools/shadingctl/findings/LensFacts.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "tools/shadingctl/statistics/Median.h"

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

// The statistics of a window: percentiles and medians, as a single odd sample must not decide.
constexpr std::size_t kBlocks = 10;
constexpr double kDeviationOfMedian = 1.2533;            // of n normal values: sigma / sqrt(n) times this
constexpr double kSecondDifference = 2.449489742783178;  // sqrt(6): of a second difference of noise
constexpr double kMovesWithoutNoise = 1e9;               // a stillness
constexpr std::size_t kFewChanges = 8;
constexpr double kRegularShare = 0.95;

double BlockSpread(std::vector<double> const& positions) {
  std::array<double, kBlocks> medians{};
  double mean = 0;
  for (std::size_t i = 0; i < kBlocks; ++i) {
    auto const begin = positions.begin() + static_cast<std::ptrdiff_t>(i * positions.size() / kBlocks);
    auto const end = positions.begin() + static_cast<std::ptrdiff_t>((i + 1) * positions.size() / kBlocks);
    medians[i] = AtShare(std::vector<double>(begin, end), 0.5) - positions.front();  // 0 of equal ones, exactly
    mean += medians[i] / kBlocks;
  }
  double squares = 0;
  for (double const median : medians) squares += (median - mean) * (median - mean);
  return std::sqrt(squares / (kBlocks - 1));
}

AxisWindow AxisOf(std::vector<LensSample> const& samples, std::size_t axis) {
  AxisWindow window;
  std::vector<double> positions;
  std::vector<double> steps;
  std::vector<double> bends;
  for (std::size_t i = 0; i < samples.size(); ++i) {
    positions.push_back(samples[i].at[axis]);
    if (i == 0 || !samples[i].follows) continue;
    double const step = samples[i].at[axis] - samples[i - 1].at[axis];
    steps.push_back(std::abs(step));
    if (i > 1) bends.push_back(std::abs(step - samples[i - 1].at[axis] + samples[i - 2].at[axis]));
    if (steps.back() <= window.largestStep) continue;
    window.largestStep = steps.back();
    window.largestAt = {samples[i].timeNs, samples[i].timeNs, samples[i].frame, samples[i].frame};
  }
  window.noise = kSigmaOfMedian * AtShare(bends, 0.5) / kSecondDifference;
  double const spread = BlockSpread(positions);
  double const blockSize = static_cast<double>(positions.size()) / kBlocks;
  double const expected = kDeviationOfMedian * window.noise / std::sqrt(blockSize);
  window.stillness = expected > 0 ? spread / expected : spread > 0 ? kMovesWithoutNoise : 0;
  window.usualStep = AtShare(steps, 0.9);
  window.range = AtShare(positions, 0.95) - AtShare(positions, 0.05);
  return window;
}

// Positions are held when none is new after one sample, the intervals between new ones are alike or multiples of the
// smallest, and the changes are of three sizes at least: a coarse reading of a slow lens has changes of one size.
std::uint32_t HeldFor(std::vector<LensSample> const& samples) {
  std::vector<std::uint32_t> intervals;
  std::vector<double> sizes;
  std::size_t changed = 0;
  for (std::size_t i = 1; i < samples.size(); ++i) {
    auto const& before = samples[i - 1].at;
    double const size = std::abs(samples[i].at[0] - before[0]) + std::abs(samples[i].at[1] - before[1]);
    if (size == 0) continue;
    if (changed > 0) intervals.push_back(static_cast<std::uint32_t>(i - changed));
    changed = i;
    bool const isKnown =
        std::any_of(sizes.begin(), sizes.end(), [&](double known) { return std::abs(size - known) < 0.01 * known; });
    if (!isKnown && sizes.size() < 3) sizes.push_back(size);
  }
  if (intervals.size() < kFewChanges || sizes.size() < 3) return 0;
  std::uint32_t const least = *std::min_element(intervals.begin(), intervals.end());
  std::uint32_t const median = AtShare(intervals, 0.5);
  if (least < 2) return 0;
  auto const share = [&](auto const& isRegular) {
    auto const count = std::count_if(intervals.begin(), intervals.end(), isRegular);
    return static_cast<double>(count) / static_cast<double>(intervals.size());
  };
  bool const isAlike =
      share([&](std::uint32_t one) { return one + 1 >= median && one <= median + 1; }) >= kRegularShare;
  bool const isMultiple = share([&](std::uint32_t one) { return one % least == 0; }) >= kRegularShare;
  return isAlike ? median : isMultiple ? least : 0;
}

// `samples` are at least 100.
LensWindow WindowOf(std::vector<LensSample> const& samples) {
  LensWindow window;
  window.interval = {samples.front().timeNs, samples.back().timeNs, samples.front().frame, samples.back().frame};
  window.axes = {AxisOf(samples, 0), AxisOf(samples, 1)};
  window.heldFor = HeldFor(samples);
  std::vector<std::int64_t> intervalsNs;
  for (std::size_t i = 1; i < samples.size(); ++i) {
    intervalsNs.push_back(TimeDifference(samples[i].timeNs, samples[i - 1].timeNs));
    if (intervalsNs.back() <= window.longestIntervalNs) continue;
    window.longestIntervalNs = intervalsNs.back();
    window.longestAt = {samples[i - 1].timeNs, samples[i].timeNs, samples[i - 1].frame, samples[i].frame};
  }
  window.usualIntervalNs = AtShare(intervalsNs, 0.5);
  return window;
}

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
  bool const isLong = TimeDifference(timeNs, mWindow.front().timeNs) >= kWindowNs && mWindow.size() > kWindowSamples;
  if (!isFull && !isLong) return;
  mWindows.push_back(WindowOf(mWindow));
  mWindow.erase(mWindow.begin(), mWindow.end() - 1);
}

bool LensFacts::IsLong(FlatRun const& run) {
  return run.open && run.samples >= kWindowSamples && run.open->interval.LengthNs() >= kWindowNs;
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

LensFacts::Axis LensFacts::AxisOf(std::size_t axis) const {
  Axis all;
  for (Kept const& kept : mKept) {
    all.positions.push_back(static_cast<double>(kept.at[axis]));
    all.steps.push_back(static_cast<double>(kept.step[axis]));
  }
  std::sort(all.positions.begin(), all.positions.end());
  std::sort(all.steps.begin(), all.steps.end());
  all.grain = mGrains[axis];
  all.range = AtShare(all.positions, 0.95) - AtShare(all.positions, 0.05);
  std::vector<double> noises;
  all.isStill = !mWindows.empty();
  for (LensWindow const& window : mWindows) {
    noises.push_back(window.axes[axis].noise);
    all.isStill = all.isStill && window.axes[axis].stillness < kStillBelow;
  }
  all.noise = Median(std::move(noises)).value_or(0);
  return all;
}

std::uint32_t LensFacts::HeldFor() const {
  std::vector<std::uint32_t> held;
  for (LensWindow const& window : mWindows) held.push_back(window.heldFor);
  return std::max(AtShare(std::move(held), 0.5), 1U);
}

}  // namespace shadingctl
