// The samples of one frame's window, on the frame's own time line.
#pragma once

#include <cstdint>

#include "lsc/ois/HallRun.h"

namespace lsc {

// At most kCapacity entries, no two in a row from the same microsecond.
struct HallTable {
  static constexpr int kCapacity = 100;

  int count;
  int sample[kCapacity];              // its place in the window
  std::int64_t alignedUs[kCapacity];  // its time less the offset
};

// Fills the table from the samples of a window, oldest first. A sample from the same microsecond as the one taken
// before it is left out, as is a first one from microsecond 0.
HallTable BuildHallTable(HallRun window, std::int64_t offsetUs);

}  // namespace lsc
