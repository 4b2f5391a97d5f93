// How many lines a computation must have written.
#pragma once

#include <cstdint>

#include "tools/shadingctl/log/FrameMessages.h"

namespace shadingctl {

// A lower bound: what lost lines told is unknown. `hasDetail`: the library's log level is 4 or more.
std::uint64_t ExpectedLines(FrameMessages const& messages, bool hasDetail);

}  // namespace shadingctl
