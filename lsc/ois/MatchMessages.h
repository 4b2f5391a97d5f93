// The messages about a frame's samples, candidates and span; needed only while messages are wanted.
#pragma once

#include "lsc/ois/HallRun.h"
#include "lsc/ois/ReadoutMatch.h"

namespace lsc {

// Writes them under the name `function`, in the order in which the search looks at entries; these are numbered from 0.
// The window has at most kWindowSize samples. `fallsBackToOldest`: same value as passed to MatchReadout.
void LogMatch(char const* function, HallRun window, SearchInterval const& interval, ReadoutMatch const& match,
              bool fallsBackToOldest);

}  // namespace lsc
