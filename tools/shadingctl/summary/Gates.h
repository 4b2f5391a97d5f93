// What a replay must reach, for continuous integration.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tools/shadingctl/summary/Summaries.h"

namespace shadingctl {

// All need the library's log level 4.
struct Gates {
  std::optional<double> failBelowPercent;  // of the frames after the warm-up, those with both ends near a sample
  std::optional<std::int64_t> maxAgeUs;    // of the position that a frame uses, whether it is new or kept
  std::vector<std::string> failOn;         // codes of findings, names of severities, and kIncomplete
};

constexpr char kIncomplete[] = "incomplete";  // a recording that is broken, unfinished or has losses

// A sentence for each gate that a camera does not pass.
std::vector<std::string> FailedGates(Gates const& gates, Summaries const& summaries);

}  // namespace shadingctl
