#include "lsc/ois/HallTable.h"

#include "lsc/TimeUnits.h"

namespace lsc {

HallTable BuildHallTable(HallRun window, std::int64_t offsetUs) {
  HallTable table = {};
  std::int64_t takenUs = 0;
  for (std::size_t i = 0; i < window.size && table.count < HallTable::kCapacity; ++i) {
    std::int64_t const timeUs = ToUs(window.samples[i].timeNs);
    if (timeUs == takenUs) continue;

    table.sample[table.count] = static_cast<int>(i);
    table.alignedUs[table.count] = timeUs - offsetUs;
    ++table.count;
    takenUs = timeUs;
  }
  return table;
}

}  // namespace lsc
