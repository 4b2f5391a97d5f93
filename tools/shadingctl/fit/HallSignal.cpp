#include "tools/shadingctl/fit/HallSignal.h"

#include <algorithm>
#include <utility>

#include "tools/shadingctl/statistics/Median.h"

namespace shadingctl {
namespace {

constexpr double kWidestGap = 3;            // median intervals: a curve through a wider one would be a guess
constexpr double kHarmlessGapUs = 3000;     // the hand's fastest swings last 80 ms
constexpr double kClosest = 0.1;            // median intervals: the noise of nearer ones makes the curve steep
constexpr double kLeastPlateau = 0.02;      // share of the samples; less does the fit no harm
constexpr double kBeyondPlateau = 0.005;    // share of the samples that may lie beyond it, as a glitch does
constexpr double kPlateauShare = 0.75;      // of the samples within four widths of the end; of a sine, half of them are
constexpr double kDeviationsOfBends = 2.4;  // six of the noise: a second difference has sqrt(6) times its deviation

HallPoint operator+(HallPoint const& one, HallPoint const& other) { return {one.x + other.x, one.y + other.y}; }
HallPoint operator-(HallPoint const& one, HallPoint const& other) { return {one.x - other.x, one.y - other.y}; }
HallPoint operator*(double factor, HallPoint const& point) { return {factor * point.x, factor * point.y}; }

}  // namespace

HallSignal::HallSignal(std::vector<HallSample> samples) {
  std::stable_sort(samples.begin(), samples.end(), [](auto const& a, auto const& b) { return a.timeNs < b.timeNs; });
  auto const sameTime = [](auto const& a, auto const& b) { return a.timeNs == b.timeNs; };
  samples.erase(std::unique(samples.begin(), samples.end(), sameTime), samples.end());
  mFirstNs = samples.front().timeNs;
  std::vector<double> intervalsUs;
  for (std::size_t i = 1; i < samples.size(); ++i)
    intervalsUs.push_back(static_cast<double>(samples[i].timeNs - samples[i - 1].timeNs) / 1e3);
  mMedianIntervalUs = *Median(std::move(intervalsUs));
  HallPoint mean;
  for (HallSample const& sample : samples)
    mean = mean + (1 / static_cast<double>(samples.size())) * HallPoint{sample.x, sample.y};
  for (HallSample const& sample : samples) {
    double const timeUs = static_cast<double>(sample.timeNs - mFirstNs) / 1e3;
    if (!mKnots.empty() && timeUs - mKnots.back().timeUs < kClosest * mMedianIntervalUs) continue;
    mKnots.push_back({timeUs, HallPoint{sample.x, sample.y} - mean, {}, {}, 0, 0});
  }
  for (double const sign : {-1.0, 1.0}) {
    FindClipped(&HallPoint::x, sign);
    FindClipped(&HallPoint::y, sign);
  }
  FindSlopes();
  Integrate();
}

// A lens that turns round is rarely at its very farthest position, a clipped one often: compares the samples within a
// narrow width of the end with those within four. The width is as narrow as the samples' noise and steps permit.
void HallSignal::FindClipped(double HallPoint::*axis, double sign) {
  std::vector<double> values;
  for (Knot const& knot : mKnots) values.push_back(sign * knot.value.*axis);
  std::vector<double> bends;
  for (std::size_t i = 2; i < values.size(); ++i) bends.push_back(values[i] - 2 * values[i - 1] + values[i - 2]);
  std::sort(values.begin(), values.end());
  double step = values.back() - values.front();
  if (!(step > 0)) return;
  for (std::size_t i = 1; i < values.size(); ++i) {
    if (values[i] > values[i - 1]) step = std::min(step, values[i] - values[i - 1]);
  }
  double const near = std::max(kDeviationsOfBends * RobustDeviation(std::move(bends)), 1.5 * step);
  auto const count = static_cast<double>(values.size());
  double const end = values[static_cast<std::size_t>((1 - kBeyondPlateau) * (count - 1))];
  auto const shareFrom = [&](double from) {
    return static_cast<double>(values.end() - std::lower_bound(values.begin(), values.end(), from)) / count;
  };
  if (shareFrom(end - near) < std::max(kLeastPlateau, kPlateauShare * shareFrom(end - 4 * near))) return;
  for (Knot& knot : mKnots) knot.clippedUpTo += std::size_t{sign * knot.value.*axis >= end - near};
}

// The slope of the parabola through a knot and its neighbours; at either end that of the line to the only neighbour.
void HallSignal::FindSlopes() {
  auto const slope = [](Knot const& from, Knot const& to) {
    return (1 / (to.timeUs - from.timeUs)) * (to.value - from.value);
  };
  std::size_t const last = mKnots.size() - 1;
  mKnots[0].slope = slope(mKnots[0], mKnots[1]);
  mKnots[last].slope = slope(mKnots[last - 1], mKnots[last]);
  for (std::size_t i = 1; i < last; ++i) {
    double const before = mKnots[i].timeUs - mKnots[i - 1].timeUs;
    double const after = mKnots[i + 1].timeUs - mKnots[i].timeUs;
    mKnots[i].slope =
        (1 / (before + after)) * (after * slope(mKnots[i - 1], mKnots[i]) + before * slope(mKnots[i], mKnots[i + 1]));
  }
}

void HallSignal::Integrate() {
  for (std::size_t i = 1; i < mKnots.size(); ++i) {
    mKnots[i].integral = IntegralTo(mKnots[i].timeUs);
    bool const isGap =
        mKnots[i].timeUs - mKnots[i - 1].timeUs > std::max(kWidestGap * mMedianIntervalUs, kHarmlessGapUs);
    mKnots[i].gapsBefore = mKnots[i - 1].gapsBefore + (isGap ? 1 : 0);
    mKnots[i].clippedUpTo += mKnots[i - 1].clippedUpTo;
  }
}

// The last knot before a time; the first one for earlier times, the last but one for later ones.
std::size_t HallSignal::KnotBefore(double timeUs) const {
  auto const isEarlier = [](Knot const& knot, double us) { return knot.timeUs < us; };
  auto const after = std::lower_bound(mKnots.begin() + 1, mKnots.end() - 1, timeUs, isEarlier);
  return static_cast<std::size_t>(after - mKnots.begin()) - 1;
}

HallPoint HallSignal::At(double timeUs) const {
  std::size_t const i = KnotBefore(timeUs);
  Knot const& a = mKnots[i];
  Knot const& b = mKnots[i + 1];
  double const length = b.timeUs - a.timeUs;
  double const u = (timeUs - a.timeUs) / length;
  double const w = 1 - u;
  return (w * w * (1 + 2 * u)) * a.value + (u * u * (3 - 2 * u)) * b.value + (length * u * w * w) * a.slope -
         (length * u * u * w) * b.slope;
}

HallPoint HallSignal::IntegralTo(double timeUs) const {
  std::size_t const i = KnotBefore(timeUs);
  Knot const& a = mKnots[i];
  Knot const& b = mKnots[i + 1];
  double const length = b.timeUs - a.timeUs;
  double const u = (timeUs - a.timeUs) / length;
  double const square = u * u;
  double const ofB = square * u * (1 - u / 2);
  return a.integral +
         length * ((u - ofB) * a.value + ofB * b.value + (length * square * (0.5 - u * (2.0 / 3 - u / 4))) * a.slope -
                   (length * square * u * (1.0 / 3 - u / 4)) * b.slope);
}

HallPoint HallSignal::Mean(double fromUs, double toUs) const {
  return (1 / (toUs - fromUs)) * (IntegralTo(toUs) - IntegralTo(fromUs));
}

Coverage HallSignal::CoverageOf(double fromUs, double toUs) const {
  if (fromUs < mKnots.front().timeUs || toUs > mKnots.back().timeUs) return Coverage::kPartial;
  Knot const& last = mKnots[KnotBefore(toUs) + 1];
  std::size_t const before = KnotBefore(fromUs);
  if (last.gapsBefore != mKnots[before].gapsBefore) return Coverage::kPartial;
  std::size_t const clippedBefore = before == 0 ? 0 : mKnots[before - 1].clippedUpTo;
  return last.clippedUpTo == clippedBefore ? Coverage::kWhole : Coverage::kClipped;
}

}  // namespace shadingctl
