// The messages about a frame's samples, candidates and span; needed only while messages are wanted.
#pragma once

#include "lsc/ois/HallRun.h"
#include "lsc/ois/ReadoutMatch.h"

namespace lsc {

// Writes them in the order in which the search looks at entries, for a match in a window of at most kWindowSize
// samples; `fallsBackToOldest` as the match was made. They bear the name `function`, and number the entries from 0.
void LogMatch(char const* function, HallRun window, Readout const& readout, ReadoutMatch const& match,
              bool fallsBackToOldest);

}  // namespace lsc
