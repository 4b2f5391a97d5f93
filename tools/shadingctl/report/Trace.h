// A replay's result on the timeline of a trace viewer. docs/pictures.md lists the tracks.
#pragma once

#include "tools/shadingctl/output/OutputFile.h"
#include "tools/shadingctl/result/ResultReader.h"

namespace shadingctl {

// Reads the JSON result of a replay and writes the Chrome trace format, as an object. Throws UnusableInput.
ResultHead WriteTrace(std::string const& path, OutputFile& output);

}  // namespace shadingctl
