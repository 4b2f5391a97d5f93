// The samples of one frame's window, on the frame's own time line.
#pragma once

#include <cstdint>

#include "lsc/HallWindow.h"

namespace lsc {

constexpr std::int64_t kNsPerUs = 1000;

// Nanoseconds as microseconds, truncated toward zero: the one place where times change their unit.
constexpr std::int64_t ToUs(std::int64_t timeNs) { return timeNs / kNsPerUs; }
constexpr std::uint64_t ToUs(std::uint64_t timeNs) { return timeNs / kNsPerUs; }
constexpr std::uint32_t ToUs(std::uint32_t timeNs) { return timeNs / static_cast<std::uint32_t>(kNsPerUs); }

// At most kCapacity entries, no two in a row from the same microsecond.
struct HallTable {
  static constexpr int kCapacity = 100;

  int count;
  float hallX[kCapacity];
  float hallY[kCapacity];
  std::int64_t alignedUs[kCapacity];  // the sample's time less the offset
};

// What is subtracted from every sample's time, in us: negative, so samples move forward in time, by a little more than
// half of the shorter one of exposure and readout. The factor and the constant are empirical.
std::int64_t OffsetUs(std::uint64_t exposureUs, std::uint32_t shutterUs);

// Fills the table from the samples, oldest first. A sample from the same microsecond as the one taken before it is left
// out, as is a first one from microsecond 0.
HallTable BuildHallTable(HallWindow const& samples, std::int64_t offsetUs);

}  // namespace lsc
