// Shares as people read them.
#pragma once

#include <fmt/format.h>

#include <cstdint>
#include <string>

namespace shadingctl {

// "96.9 %"; a part that is neither nothing nor all is never rounded to either. Requires: all > 0.
inline std::string PercentText(std::uint64_t part, std::uint64_t all) {
  std::string const text = fmt::format("{:.1f}", 100.0 * static_cast<double>(part) / static_cast<double>(all));
  if (text == "100.0" && part < all) return ">99.9 %";
  if (text == "0.0" && part > 0) return "<0.1 %";
  return text + " %";
}

}  // namespace shadingctl
