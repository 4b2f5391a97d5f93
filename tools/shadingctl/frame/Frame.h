// One computed frame: the row that tells of it, and what decided its outcome.
#pragma once

#include <cstdint>

#include "tools/shadingctl/frame/FrameFacts.h"
#include "tools/shadingctl/frame/FrameResult.h"

namespace shadingctl {

struct Frame {
  FrameResult row;
  FrameFacts facts;
};

// What a call says of its frame, whatever the library makes of it.
struct FrameHead {
  std::int32_t camera = 0;
  std::uint32_t frame = 0;
  std::uint64_t timestampNs = 0;
  int type = 0;
};

// Everything but the position.
Frame MakeFrame(FrameHead const& head, CallOutcome const& outcome, FrameMessages const& messages);

}  // namespace shadingctl
