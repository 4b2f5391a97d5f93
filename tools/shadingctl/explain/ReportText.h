// What a log is like, in words and as JSON. docs/explain.md describes both.
#pragma once

#include <string>

#include "tools/shadingctl/explain/LogExplanation.h"
#include "tools/shadingctl/output/Json.h"

namespace shadingctl {

std::string ReportText(LogReport const& report, std::string const& logName);
Json ReportJson(LogReport const& report, std::string const& logName);

// One line for a frame: what became of it, what is missing of it, and whether the library computes the same.
std::string CallLine(ExplainedCall const& call);

}  // namespace shadingctl
