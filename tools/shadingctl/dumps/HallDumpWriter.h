// OIS hall dumps, as a table to read, a line per frame, or JSON.
#pragma once

#include <vector>

#include "tools/shadingctl/dumps/HallDumpFolder.h"
#include "tools/shadingctl/output/OutputFile.h"
#include "tools/shadingctl/result/ResultWriter.h"

namespace shadingctl {

// `withSamples` lists the samples of the spans in formats that otherwise omit them.
void WriteDumps(Format format, OutputFile& output, std::vector<NamedDump> const& dumps, bool withSamples);

}  // namespace shadingctl
