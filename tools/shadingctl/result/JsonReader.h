// Reads a JSON result as it comes.
#pragma once

#include "tools/shadingctl/result/ResultBytes.h"
#include "tools/shadingctl/result/ResultReader.h"

namespace shadingctl {

// The value of a column that a scalar stands for; empty where it is of another type or outside of the column's range.
std::optional<Value> ValueFor(ResultColumn const& column, Json const& scalar);

// For messages: not too long.
std::string ShownValue(Json const& value);

[[noreturn]] void RefuseValue(std::string const& place, std::string const& expected, std::string const& found);

// Fills `head.members`, and checks none of them.
void ReadJson(ResultBytes& bytes, ResultSink const& sink, ResultHead& head);

}  // namespace shadingctl
