// Shares as people read them.
#pragma once

#include <fmt/format.h>

#include <cstdint>
#include <string>

namespace shadingctl {

// "96.9 %"; what is neither nothing nor all is never rounded to either.
inline std::string PercentText(double percent) {
  std::string const text = fmt::format("{:.1f}", percent);
  if (text == "100.0" && percent < 100) return ">99.9 %";
  if (text == "0.0" && percent > 0) return "<0.1 %";
  return text + " %";
}

// Requires: all > 0.
inline std::string PercentText(std::uint64_t part, std::uint64_t all) {
  return PercentText(100.0 * static_cast<double>(part) / static_cast<double>(all));
}

}  // namespace shadingctl
