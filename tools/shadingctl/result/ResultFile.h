// Reads the results of a replay, JSON or CSV (docs/replay-output.md).
#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>

#include "tools/shadingctl/result/ResultCsv.h"

namespace shadingctl {

// All but the rows. A CSV file has none of it: its objects are empty.
struct ResultHead {
  nlohmann::ordered_json settings;
  nlohmann::ordered_json summary;
  nlohmann::ordered_json findings;
  bool isComplete = true;
  std::string error;  // why it is not
};

// Hands out the rows in their order, one at a time, as objects of the JSON form, and answers what stands around them. A
// file that begins with a brace is JSON, any other CSV. Holds one row. "-" is standard input.
//
// Throws UnusableInput, "FILE: expected EXPECTATION, found TEXT", where the file is neither, is of another schema or
// version, or lacks what every result has. Places in JSON are line and column or the name of the member, those in CSV
// "FILE:LINE: COLUMN".
ResultHead ReadResult(std::string const& path, TakeRow const& takeRow);

}  // namespace shadingctl
