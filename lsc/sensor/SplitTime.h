// The time at which two overlapping batches are cut.
#pragma once

#include <cstdint>

namespace lsc {

// Half the sum of two times in ns, rounded toward zero, for beginsNs <= endsNs; exact where the sum itself would leave
// the range of 64 bits.
constexpr std::int64_t SplitTimeNs(std::int64_t beginsNs, std::int64_t endsNs) {
  std::uint64_t const distanceNs = static_cast<std::uint64_t>(endsNs) - static_cast<std::uint64_t>(beginsNs);
  std::int64_t const midpointNs = beginsNs + static_cast<std::int64_t>(distanceNs / 2);  // rounded down
  bool const isHalfway = distanceNs % 2 != 0;
  return isHalfway && midpointNs < 0 ? midpointNs + 1 : midpointNs;
}

}  // namespace lsc
