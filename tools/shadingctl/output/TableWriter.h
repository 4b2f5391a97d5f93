// The rows of a replay as a table for people.
#pragma once

#include <memory>

#include "tools/shadingctl/output/ResultWriter.h"

namespace shadingctl {

// A table with all columns when `wide` is set or `output` is no terminal, otherwise with those that fit.
std::unique_ptr<ResultWriter> MakeTableWriter(OutputFile& output, bool wide);

}  // namespace shadingctl
