// The JSON results that have a page.
#pragma once

#include <string>

#include "tools/shadingctl/result/ResultReader.h"

namespace shadingctl {

// "replay", "calibration", "fit"
char const* KindName(ResultHead const& head);
bool IsReplay(ResultHead const& head);

// Reads any of them and checks what its page needs. Throws UnusableInput.
ResultHead ReadDocument(std::string const& path, ResultSink const& sink);

}  // namespace shadingctl
