// The rows of a result as CSV lines. docs/replay-output.md lists the columns.
#pragma once

#include <string>

#include "tools/shadingctl/frame/FrameResult.h"

namespace shadingctl {

// Both with a line feed.
std::string CsvHeader();
std::string CsvRow(FrameResult const& row);

}  // namespace shadingctl
