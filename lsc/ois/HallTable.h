// The samples of one frame's window, on the frame's own time line.
#pragma once

#include <cstdint>

#include "lsc/TimeUnits.h"
#include "lsc/ois/HallRun.h"

namespace lsc {

// At most kCapacity entries, no two in a row from the same microsecond.
struct HallTable {
  static constexpr int kCapacity = 100;

  int count;
  int sample[kCapacity];              // its place in the window
  std::int64_t alignedUs[kCapacity];  // its time less the offset
};

// What is subtracted from every sample's time, in us: negative, so samples move forward in time, by a little more than
// half of the shorter one of exposure and readout. The factor and the constant are empirical.
std::int64_t OffsetUs(std::uint64_t exposureUs, std::uint32_t shutterUs);

// Fills the table from the samples of a window, oldest first. A sample from the same microsecond as the one taken
// before it is left out, as is a first one from microsecond 0.
HallTable BuildHallTable(HallRun window, std::int64_t offsetUs);

}  // namespace lsc
