#include "tools/shadingctl/fit/ImageAxis.h"

#include <cmath>

namespace shadingctl {
namespace {

constexpr std::size_t kBlockFrames = 5;
constexpr int kMostSteps = 30;  // of the refinement; it takes about 5
constexpr double kSettledUs = 1e-3;

double LagOf(Readout const& readout, double lagUs, double slope) { return lagUs + slope * readout.shorterUs; }

}  // namespace

std::optional<std::pair<Parameters, double>> ImageAxis::At(double lagUs, double slope) const {
  Moments moments;
  for (Readout const& readout : mReadouts) {
    double const lag = LagOf(readout, lagUs, slope);
    HallPoint const mean = mHall.Mean(readout.startUs - lag, readout.endUs - lag);
    moments.Add({1, mean.x, mean.y, 0, 0}, readout.position[mIndex]);
  }
  auto solution = Solve(moments, kLag);
  if (!solution) return std::nullopt;
  double rest = moments.squares;
  for (std::size_t i = 0; i < kLag; ++i) rest -= (*solution)[i] * moments.right[i];
  (*solution)[kLag] = lagUs;
  (*solution)[kSlope] = slope;
  return std::pair(*solution, rest);
}

std::optional<Parameters> ImageAxis::Refine(Parameters at) const {
  for (int step = 0; step < kMostSteps; ++step) {
    Moments sum;
    for (Moments const& block : Blocks(at)) sum.Add(block);
    auto const change = Solve(sum, mCount);
    if (!change) return std::nullopt;
    for (std::size_t i = 0; i < kParameters; ++i) at[i] += (*change)[i];
    if (std::abs((*change)[kLag]) < kSettledUs) return at;
  }
  return std::nullopt;
}

std::vector<Tangent> ImageAxis::Tangents(Parameters const& at) const {
  std::vector<Tangent> tangents;
  tangents.reserve(mReadouts.size());
  for (Readout const& readout : mReadouts) {
    double const lag = LagOf(readout, at[kLag], at[kSlope]);
    double const fromUs = readout.startUs - lag;
    double const toUs = readout.endUs - lag;
    HallPoint const mean = mHall.Mean(fromUs, toUs);
    HallPoint const first = mHall.At(fromUs);
    HallPoint const last = mHall.At(toUs);
    double const byLag = (at[kGainX] * (first.x - last.x) + at[kGainY] * (first.y - last.y)) / (toUs - fromUs);
    tangents.push_back({mean, at[0] + at[kGainX] * mean.x + at[kGainY] * mean.y, byLag});
  }
  return tangents;
}

std::vector<Moments> ImageAxis::Blocks(Parameters const& at) const {
  std::vector<Moments> blocks;
  std::vector<Tangent> const tangents = Tangents(at);
  for (std::size_t i = 0; i < mReadouts.size(); ++i) {
    if (i % kBlockFrames == 0) blocks.emplace_back();
    auto const& [lens, position, byLag] = tangents[i];
    blocks.back().Add({1, lens.x, lens.y, byLag, byLag * mReadouts[i].shorterUs},
                      mReadouts[i].position[mIndex] - position);
  }
  return blocks;
}

}  // namespace shadingctl
