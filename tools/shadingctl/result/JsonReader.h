// Reads a JSON result as it comes.
#pragma once

#include "recording/InputFile.h"
#include "tools/shadingctl/result/ResultReader.h"

namespace shadingctl {

// For messages: not too long.
std::string ShownValue(Json const& value);

[[noreturn]] void RefuseValue(std::string const& place, std::string const& expected, std::string const& found);

// Fills `head.members`, and checks none of them.
void ReadJson(recording::InputFile& file, ResultSink const& sink, ResultHead& head);

}  // namespace shadingctl
