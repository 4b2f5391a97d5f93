// The rows of a replay as a table for people.
#pragma once

#include <memory>

#include "tools/shadingctl/result/ResultWriter.h"

namespace shadingctl {

std::unique_ptr<ResultWriter> MakeTableWriter(OutputFile& output, TableStyle const& style);

}  // namespace shadingctl
