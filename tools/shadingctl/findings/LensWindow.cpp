// The statistics of one window. Percentiles and medians, as a single odd sample must not decide.
#include <algorithm>
#include <cmath>

#include "tools/shadingctl/findings/LensFacts.h"

namespace shadingctl {
namespace {

constexpr std::size_t kBlocks = 10;
constexpr double kDeviationOfMedian = 1.2533;            // of n normal values: sigma / sqrt(n) times this
constexpr double kSigmaOfMedian = 1.4826;                // sigma over the median of the magnitude
constexpr double kSecondDifference = 2.449489742783178;  // sqrt(6): of a second difference of noise
constexpr double kMovesWithoutNoise = 1e9;               // a stillness
constexpr std::size_t kFewChanges = 8;
constexpr double kRegularShare = 0.95;

// Reorders the values.
template <class Number>
Number AtShare(std::vector<Number>& values, double share) {
  if (values.empty()) return {};
  auto const at = values.begin() + static_cast<std::ptrdiff_t>(share * static_cast<double>(values.size() - 1));
  std::nth_element(values.begin(), at, values.end());
  return *at;
}

double BlockSpread(std::vector<double> const& positions) {
  std::array<double, kBlocks> medians{};
  double mean = 0;
  for (std::size_t i = 0; i < kBlocks; ++i) {
    auto const begin = positions.begin() + static_cast<std::ptrdiff_t>(i * positions.size() / kBlocks);
    auto const end = positions.begin() + static_cast<std::ptrdiff_t>((i + 1) * positions.size() / kBlocks);
    std::vector<double> block(begin, end);
    medians[i] = AtShare(block, 0.5) - positions.front();  // 0 of equal ones, exactly
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
  window.range = AtShare(positions, 0.95);
  window.range -= AtShare(positions, 0.05);
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

}  // namespace

LensWindow WindowOf(std::vector<LensSample> const& samples) {
  LensSample const& first = samples.front();
  LensSample const& last = samples.back();
  LensWindow window;
  window.interval = {first.timeNs, last.timeNs, first.frame, last.frame};
  window.axes = {AxisOf(samples, 0), AxisOf(samples, 1)};
  window.heldFor = HeldFor(samples);
  std::vector<std::int64_t> intervalsNs;
  for (std::size_t i = 1; i < samples.size(); ++i) {
    intervalsNs.push_back(DifferenceNs(samples[i].timeNs, samples[i - 1].timeNs));
    if (intervalsNs.back() <= window.longestIntervalNs) continue;
    window.longestIntervalNs = intervalsNs.back();
    window.longestAt = {samples[i - 1].timeNs, samples[i].timeNs, samples[i - 1].frame, samples[i].frame};
  }
  window.usualIntervalNs = AtShare(intervalsNs, 0.5);
  return window;
}

}  // namespace shadingctl
