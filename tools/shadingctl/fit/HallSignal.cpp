#include "tools/shadingctl/fit/HallSignal.h"

#include <algorithm>

namespace shadingctl {
namespace {

constexpr double kWidestGap = 3;  // median intervals: a curve through a wider one would be a guess

HallPoint operator+(HallPoint const& one, HallPoint const& other) { return {one.x + other.x, one.y + other.y}; }
HallPoint operator-(HallPoint const& one, HallPoint const& other) { return {one.x - other.x, one.y - other.y}; }
HallPoint operator*(double factor, HallPoint const& point) { return {factor * point.x, factor * point.y}; }

}  // namespace

HallSignal::HallSignal(std::vector<HallSample> samples) {
  std::stable_sort(samples.begin(), samples.end(), [](auto const& a, auto const& b) { return a.timeNs < b.timeNs; });
  auto const sameTime = [](auto const& a, auto const& b) { return a.timeNs == b.timeNs; };
  samples.erase(std::unique(samples.begin(), samples.end(), sameTime), samples.end());
  mFirstNs = samples.front().timeNs;
  for (HallSample const& sample : samples)
    mKnots.push_back({static_cast<double>(sample.timeNs - mFirstNs) / 1e3, {sample.x, sample.y}, {}, {}, 0});
  std::vector<double> intervalsUs;
  for (std::size_t i = 1; i < mKnots.size(); ++i) intervalsUs.push_back(mKnots[i].timeUs - mKnots[i - 1].timeUs);
  auto const middle = intervalsUs.begin() + static_cast<std::ptrdiff_t>(intervalsUs.size() / 2);
  std::nth_element(intervalsUs.begin(), middle, intervalsUs.end());
  mMedianIntervalUs = *middle;
  FindSlopes();
  Integrate();
}

// Those of the parabola through a knot and its neighbours; at either end that of the straight line.
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
    bool const isGap = mKnots[i].timeUs - mKnots[i - 1].timeUs > kWidestGap * mMedianIntervalUs;
    mKnots[i].gapsBefore = mKnots[i - 1].gapsBefore + (isGap ? 1 : 0);
  }
}

// The last knot before a time that has one after it; both ends count to their neighbour.
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

bool HallSignal::Covers(double fromUs, double toUs) const {
  if (fromUs < mKnots.front().timeUs || toUs > mKnots.back().timeUs) return false;
  return mKnots[KnotBefore(toUs) + 1].gapsBefore == mKnots[KnotBefore(fromUs)].gapsBefore;
}

}  // namespace shadingctl
