// The span of a frame about which messages are written, or whose times leave no room to compute with.
#pragma once

#include <cstdint>

#include "lsc/ois/FrameTimes.h"
#include "lsc/ois/HallRun.h"

namespace lsc {

// Aligns the samples of a window in a table and searches the readout in it, with every message, which bear the name of
// `function`. From the first entry of the span to the last one; no sample when the span has fewer than two entries.
// `oisMatched` is set to 1 when the start was found; while it is not 0, a frame whose start is not found begins with
// the table's first entry.
HallRun FindSpanInTable(char const* function, HallRun window, FrameTimes const& times, std::int64_t offsetUs,
                        int& oisMatched);

}  // namespace lsc
