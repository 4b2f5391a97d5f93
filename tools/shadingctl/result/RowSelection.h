// Which frames of a replay are shown; all of them are played.
#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>
#include <vector>

#include "tools/shadingctl/frame/FrameResult.h"

namespace shadingctl {

// Frame numbers, both included.
struct FrameRange {
  std::uint32_t first = 0;
  std::uint32_t last = 0;
};

struct RowSelection {
  std::vector<Match> only;          // empty: of every kind
  std::optional<FrameRange> range;  // empty: all
  bool none = false;                // the summary only

  bool IsAll() const { return only.empty() && !range && !none; }

  bool Includes(FrameResult const& result) const {
    if (none || (range && (result.frame < range->first || result.frame > range->last))) return false;
    return only.empty() || std::find(only.begin(), only.end(), result.match) != only.end();
  }
};

}  // namespace shadingctl
