// Reads the CSV form of a replay's result.
#pragma once

#include <cstdio>
#include <functional>
#include <nlohmann/json.hpp>
#include <string>

namespace shadingctl {

using TakeRow = std::function<void(nlohmann::ordered_json const& row)>;

// Hands out each line as an object: numbers as numbers, empty values as null, everything else as text. Lines may end in
// CR LF. `name` is that of the file in messages.
//
// Throws UnusableInput: "NAME:LINE: COLUMN: expected EXPECTATION, found TEXT".
void ReadResultCsv(std::FILE* file, std::string const& name, TakeRow const& takeRow);

}  // namespace shadingctl
