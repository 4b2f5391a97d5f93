// One frame in plain words.
#pragma once

#include <string>
#include <vector>

#include "tools/shadingctl/frame/Frame.h"

namespace shadingctl {

// One sentence: what became of the frame, and why.
std::string Headline(FrameResult const& result, FrameFacts const& facts);

// The steps in their order, one sentence each: the search interval, the history and its window, the start, the end, the
// position.
std::vector<std::string> Story(FrameResult const& result, FrameFacts const& facts);

}  // namespace shadingctl
