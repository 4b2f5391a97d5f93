// Order statistics of a list. Those of a stream are a Histogram's.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <optional>
#include <utility>
#include <vector>

namespace shadingctl {

// The value that would stand at this index if the values were sorted. Requires: index < values.size().
template <class Number>
Number AtIndex(std::vector<Number> values, std::size_t index) {
  auto const at = values.begin() + static_cast<std::ptrdiff_t>(index);
  std::nth_element(values.begin(), at, values.end());
  return *at;
}

// The middle value, the upper one of two; nullopt of none.
template <class Number>
std::optional<Number> Median(std::vector<Number> values) {
  std::size_t const middle = values.size() / 2;
  return values.empty() ? std::nullopt : std::optional(AtIndex(std::move(values), middle));
}

// The value at this share of the way from the least (0) to the greatest (1), by rank and rounded down: at 0.5 the
// middle one, the lower one of two. 0 of none.
template <class Number>
Number AtShare(std::vector<Number> values, double share) {
  if (values.empty()) return {};
  auto const index = static_cast<std::size_t>(share * static_cast<double>(values.size() - 1));
  return AtIndex(std::move(values), index);
}

constexpr double kSigmaOfMedian = 1.4826;  // of normal values: sigma over the median of the magnitude

// The standard deviation of values around 0 most of which follow the normal distribution; 0 of none.
inline double RobustDeviation(std::vector<double> values) {
  for (double& value : values) value = std::abs(value);
  return kSigmaOfMedian * Median(std::move(values)).value_or(0);
}

}  // namespace shadingctl
