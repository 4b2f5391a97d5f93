#include "tools/shadingctl/fit/ImageAxis.h"

#include <numeric>
#include <utility>

#include "hosting/LibraryNumbers.h"
#include "tools/shadingctl/statistics/Median.h"

namespace shadingctl {
namespace {

constexpr double kLeastSpreadUs = 500;  // standard deviation of exposures from which a slope can be told
constexpr double kMostLikeTime = 0.9;   // correlation of exposure and time
constexpr double kSameAsTime = 0.999;
constexpr int kDeviationSteps = 10;       // of reweighting: the sum changes by less than a percent after them
constexpr double kSmallDeviation = 0.02;  // of the mean one: smaller ones weigh no more
constexpr double kNoDeviation = 1e-150;   // keeps weights finite
constexpr double kSingular = 1e-9;        // a pivot that elimination left with less than this share is none

double MeanSize(std::vector<double> const& values, std::size_t count) {
  return std::accumulate(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(count), 0.0,
                         [](double sum, double value) { return sum + std::abs(value); }) /
         static_cast<double>(count);
}

// Of the smaller three quarters, which hold no outlier if not more than a quarter of all are.
double TrimmedSize(std::vector<double> values) {
  std::sort(values.begin(), values.end(), [](double a, double b) { return std::abs(a) < std::abs(b); });
  return MeanSize(values, values.size() - values.size() / 4);
}

}  // namespace

double Dot(Parameters const& one, Parameters const& other) {
  return std::inner_product(one.begin(), one.end(), other.begin(), 0.0);
}

Parameters Only(Parameter parameter, double value) {
  Parameters parameters{};
  parameters[parameter] = value;
  return parameters;
}

void Moments::Add(Parameters const& row, double value, double weight) {
  for (std::size_t i = 0; i < count; ++i) {
    for (std::size_t k = 0; k <= i; ++k) matrix[i][k] += weight * row[i] * row[k];
    right[i] += weight * row[i] * value;
  }
}

// By elimination, which fills the upper half.
std::optional<Parameters> Moments::Solve() const {
  auto m = matrix;
  Parameters solution{};
  std::copy_n(right.begin(), count, solution.begin());
  for (std::size_t i = 0; i < count; ++i) {
    if (!(m[i][i] > kSingular * matrix[i][i])) return std::nullopt;
    for (std::size_t k = i + 1; k < count; ++k) {
      m[i][k] = m[k][i];
      double const factor = m[k][i] / m[i][i];
      for (std::size_t j = i + 1; j <= k; ++j) m[k][j] -= factor * m[j][i];
      solution[k] -= factor * solution[i];
    }
  }
  for (std::size_t i = count; i-- > 0;) {
    for (std::size_t j = i + 1; j < count; ++j) solution[i] -= m[i][j] * solution[j];
    solution[i] /= m[i][i];
  }
  return solution;
}

double MeanSquare(std::vector<double> const& values) {
  return std::inner_product(values.begin(), values.end(), values.begin(), 0.0) / static_cast<double>(values.size());
}

FrameWindows::FrameWindows(std::vector<FrameWindow> frames, bool byExposure) : list(std::move(frames)) {
  auto const count = static_cast<double>(list.size());
  double startUs = 0;
  for (FrameWindow& window : list) {
    window.slopeByUs = byExposure ? window.exposureUs : window.ShorterUs();
    shorterUs += window.ShorterUs() / count;
    slopeByUs += window.slopeByUs / count;
    startUs += window.startUs / count;
  }
  if (!list.empty()) spanUs = std::max(1.0, list.back().startUs - list.front().startUs);
  Moments sums{2};
  for (FrameWindow& window : list) {
    window.slopeByUs -= slopeByUs;
    window.time = 2 * (window.startUs - startUs) / spanUs;
    sums.Add({window.time, window.slopeByUs}, 0, 1 / count);
  }
  auto const& [times, exposures] = std::pair(sums.matrix[0][0], sums.matrix[1][1]);
  if (!(std::sqrt(exposures) >= kLeastSpreadUs)) return;
  double const likeness = std::abs(sums.matrix[1][0]) / std::sqrt(times * exposures);
  slope = likeness > kMostLikeTime ? SlopeState::kFollowsTime : SlopeState::kFitted;
  if (likeness < kSameAsTime) parameters = kParameters;
}

std::vector<double> FrameWindows::Positions(std::size_t axis) const {
  std::vector<double> positions;
  for (FrameWindow const& window : list) positions.push_back(window.position[axis]);
  return positions;
}

bool FrameWindows::IsSmooth(std::size_t axis) const {
  std::vector<double> const at = Positions(axis);
  std::vector<double> bends;
  for (std::size_t i = 2; i < at.size(); ++i) bends.push_back(at[i] - 2 * at[i - 1] + at[i - 2]);
  return RobustDeviation(std::move(bends)) / std::sqrt(6.0) < Motion(axis) / 2;
}

double FrameWindows::Motion(std::size_t axis) const {
  std::vector<double> positions = Positions(axis);
  double const middle = Median(positions).value_or(0);
  for (double& position : positions) position -= middle;
  return RobustDeviation(std::move(positions));
}

Tangent ImageAxis::TangentOf(FrameWindow const& window, Parameters const& at) const {
  double const fromUs = window.startUs - window.LagUs(at);
  double const toUs = window.endUs - window.LagUs(at);
  HallPoint const mean = hall.Mean(fromUs, toUs);
  HallPoint const first = hall.At(fromUs);
  HallPoint const last = hall.At(toUs);
  double const time = window.time;
  double const moved = at[kGainX] * mean.x + at[kGainY] * mean.y;
  double const steepness = 1 + 2 * at[kCurvature] * moved;
  double const byLag =
      steepness * (at[kGainX] * (first.x - last.x) + at[kGainY] * (first.y - last.y)) / (toUs - fromUs);
  double const position =
      at[kOffset] + at[kTrend] * time + at[kBend] * time * time + moved + at[kCurvature] * moved * moved;
  return {position,
          {1, time, time * time, steepness * mean.x, steepness * mean.y, moved * moved, byLag, byLag * time,
           byLag * window.slopeByUs}};
}

std::optional<LagTrial> ImageAxis::TryLag(Parameters const& at, std::size_t fewest) const {
  Parameters straight = at;  // in which the image is linear in the parameters
  straight[kCurvature] = 0;
  std::vector<Parameters> rows;
  std::vector<double> positions;
  for (FrameWindow const& window : windows.list) {
    double const lagUs = window.LagUs(at);
    if (hall.CoverageOf(window.startUs - lagUs, window.endUs - lagUs) != Coverage::kWhole) continue;
    rows.push_back(TangentOf(window, straight).change);
    for (Parameter const set : {kLag, kDrift, kSlope}) rows.back()[set] = 0;
    positions.push_back(window.position[index]);
  }
  if (rows.size() < fewest) return std::nullopt;
  bool const isCurved = at[kGainX] != 0 || at[kGainY] != 0;
  LagTrial trial;
  std::vector<double> residuals(rows.size(), 1);
  for (int step = 0; step < kDeviationSteps; ++step) {
    double const small = kSmallDeviation * MeanSize(residuals, rows.size()) + kNoDeviation;
    Moments moments{isCurved ? kLag : kCurvature};
    for (std::size_t i = 0; i < rows.size(); ++i)
      moments.Add(rows[i], positions[i], 1 / std::max(std::abs(residuals[i]), small));
    auto const solution = moments.Solve();
    if (!solution) return std::nullopt;
    trial.at = *solution;
    for (std::size_t i = 0; i < rows.size(); ++i) residuals[i] = positions[i] - Dot(rows[i], trial.at);
  }
  for (Parameter const set : {kLag, kDrift, kSlope}) trial.at[set] = at[set];
  double const middle = *Median(positions);
  for (double& position : positions) position -= middle;
  trial.share = TrimmedSize(residuals) / TrimmedSize(positions);
  return trial;
}

Difference ImageAxis::DifferenceOf(Parameters const& at) const {
  auto const driving = IsDrivenByY(at) ? &HallPoint::y : &HallPoint::x;
  Difference difference;
  difference.lagUs = at[kLag] - LibraryLagUs(windows.shorterUs);
  std::vector<double> positions;
  for (FrameWindow const& window : windows.list) {
    double const libraryUs = LibraryLagUs(window.ShorterUs());
    double const withoutDriftUs = at[kLag] + at[kSlope] * window.slopeByUs;
    difference.farthestUs = std::max(difference.farthestUs, std::abs(withoutDriftUs - libraryUs));
    auto const lensAt = [&](double lagUs) { return hall.Mean(window.startUs - lagUs, window.endUs - lagUs); };
    positions.push_back(lensAt(libraryUs).*driving - lensAt(window.LagUs(at)).*driving);
  }
  if (windows.slope != SlopeState::kFitted) difference.farthestUs = std::abs(difference.lagUs);
  difference.position = std::sqrt(MeanSquare(positions));
  return difference;
}

double LibraryLagUs(double shorterUs) { return hosting::kOffsetFactor * shorterUs + hosting::kOffsetConstantUs; }

}  // namespace shadingctl
