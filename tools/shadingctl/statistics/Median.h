// The median of a list. That of a stream is a Histogram's.
#pragma once

#include <algorithm>
#include <cstddef>
#include <optional>
#include <vector>

namespace shadingctl {

// The middle value, the upper one of two; nullopt of none.
template <class Number>
std::optional<Number> Median(std::vector<Number> values) {
  if (values.empty()) return std::nullopt;
  auto const middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

}  // namespace shadingctl
