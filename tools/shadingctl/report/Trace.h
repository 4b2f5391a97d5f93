// A replay's result on the timeline of a trace viewer. docs/pictures.md lists the tracks.
#pragma once

#include "tools/shadingctl/output/OutputFile.h"
#include "tools/shadingctl/report/ResultDocument.h"

namespace shadingctl {

// Writes the Chrome trace format, as an object. Throws UnusableInput when the document is no replay.
void WriteTrace(ResultDocument const& document, OutputFile& output);

}  // namespace shadingctl
