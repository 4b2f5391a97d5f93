#include "tools/shadingctl/findings/StabiliserFacts.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace shadingctl {
namespace {

constexpr double kStepUnits = 1e6;            // a step is counted in millionths
constexpr std::int64_t kRepeatPart = 4;       // of the interval before: a repeated sample comes sooner
constexpr std::int64_t kLongestInterval = 2;  // intervals; over a longer pause the lens may go anywhere
constexpr std::int64_t kAdaption = 8;         // an interval that nothing keeps up with shrinks by this part
constexpr std::int64_t kLongestNs = INT64_MAX / 8;

std::int64_t InStepUnits(double size) { return std::llround(std::min(size, 1e12) * kStepUnits); }

}  // namespace

std::size_t SpreadHistogram::BinOf(double value) const {
  double const place = mWidth > 0 ? (value - mOrigin) / mWidth : 0;
  return static_cast<std::size_t>(std::clamp(place, 0.0, static_cast<double>(kBins - 1)));
}

void SpreadHistogram::Add(double value) {
  if (mCount == 0) mLowest = mHighest = mOrigin = value;
  if (mWidth == 0 && value != mLowest) {
    mWidth = std::abs(value - mLowest) / (kBins / 2);
    mOrigin = std::min(value, mLowest);
    std::swap(mBins[0], mBins[BinOf(mLowest)]);
  }
  while (mWidth > 0 && value < mOrigin) DoubleWidth(true);
  while (mWidth > 0 && value >= mOrigin + mWidth * kBins) DoubleWidth(false);
  mLowest = std::min(mLowest, value);
  mHighest = std::max(mHighest, value);
  ++mBins[BinOf(value)];
  ++mCount;
}

// Two bins become one; the room that this makes lies below or above all values so far.
void SpreadHistogram::DoubleWidth(bool towardsLower) {
  std::array<std::uint64_t, kBins> merged{};
  std::size_t const shift = towardsLower ? kBins / 2 : 0;
  for (std::size_t i = 0; i < kBins; ++i) merged[shift + i / 2] += mBins[i];
  mBins = merged;
  if (towardsLower) mOrigin -= mWidth * kBins;
  mWidth *= 2;
}

std::uint64_t SpreadHistogram::CountNearLowest(double share) const {
  std::uint64_t near = 0;
  for (std::size_t i = BinOf(mLowest); i <= BinOf(mLowest + share * Range()); ++i) near += mBins[i];
  return near;
}

std::uint64_t SpreadHistogram::CountNearHighest(double share) const {
  std::uint64_t near = 0;
  for (std::size_t i = BinOf(mHighest - share * Range()); i <= BinOf(mHighest); ++i) near += mBins[i];
  return near;
}

void AxisFacts::Add(double value, std::optional<double> before) {
  values.Add(value);
  double const deviation = value - mean;
  mean += deviation / static_cast<double>(values.Count());
  sumOfDeviations += deviation * (value - mean);
  if (!before) return;
  double const difference = value - *before;
  ++differences;
  if (difference == 0) ++unchanged;
  sumOfSquares += difference * difference;
}

std::optional<double> AxisFacts::Roughness() const {
  if (differences == 0 || sumOfDeviations <= 0) return std::nullopt;
  double const variance = sumOfDeviations / static_cast<double>(values.Count());
  return sumOfSquares / static_cast<double>(differences) / variance;
}

void StabiliserFacts::Add(std::uint32_t frame, std::int64_t timeNs, double x, double y) {
  if (!std::isfinite(x) || !std::isfinite(y)) return;
  if (!mBefore) {  // also after a break
    mX.Add(x, std::nullopt);
    mY.Add(y, std::nullopt);
    mBefore = {timeNs, x, y};
    return;
  }
  if (timeNs <= mBefore->timeNs) return;
  std::uint64_t const distanceNs = static_cast<std::uint64_t>(timeNs) - static_cast<std::uint64_t>(mBefore->timeNs);
  auto const intervalNs = static_cast<std::int64_t>(std::min<std::uint64_t>(distanceNs, kLongestNs));
  if (intervalNs * kRepeatPart < mIntervalNs) {
    mIntervalNs -= mIntervalNs / kAdaption;
    return;
  }
  bool const isNext = mIntervalNs == 0 || intervalNs <= kLongestInterval * mIntervalNs;
  mX.Add(x, isNext ? std::optional(mBefore->x) : std::nullopt);
  mY.Add(y, isNext ? std::optional(mBefore->y) : std::nullopt);
  if (isNext) {
    double const size = std::hypot(x - mBefore->x, y - mBefore->y);
    mSteps.Add(InStepUnits(size));
    if (size > mLargestStep.size) mLargestStep = {frame, size};
  }
  mIntervalNs = isNext ? intervalNs : kLongestInterval * mIntervalNs;
  mBefore = {timeNs, x, y};
}

std::uint64_t StabiliserFacts::CountStepsAbove(double size) const {
  return mSteps.Between(static_cast<double>(InStepUnits(size)), std::numeric_limits<double>::infinity()).count;
}

double StabiliserFacts::MedianStep() const { return mSteps.Median().value_or(0) / kStepUnits; }

}  // namespace shadingctl
