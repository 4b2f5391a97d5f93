// The one place where times are converted from one unit to another.
#pragma once

#include <cstdint>

namespace lsc {

constexpr std::int64_t kNsPerUs = 1000;

// Nanoseconds as microseconds, truncated toward zero.
constexpr std::int64_t ToUs(std::int64_t timeNs) { return timeNs / kNsPerUs; }
constexpr std::uint64_t ToUs(std::uint64_t timeNs) { return timeNs / kNsPerUs; }
constexpr std::uint32_t ToUs(std::uint32_t timeNs) { return timeNs / static_cast<std::uint32_t>(kNsPerUs); }

}  // namespace lsc
