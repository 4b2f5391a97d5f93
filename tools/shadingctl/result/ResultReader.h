// The one reader of results (docs/replay-output.md), CSV or JSON, and of other JSON documents of this tool.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "recording/InputFile.h"
#include "tools/shadingctl/output/Json.h"
#include "tools/shadingctl/result/ResultColumns.h"

namespace shadingctl {

// What a JSON document calls itself. The version grows when a member changes its meaning or goes; others may come.
struct Schema {
  char const* name;
  int version;
};
constexpr Schema kReplaySchema = {"shadingctl-replay", 1};

struct DeliveredSample {
  std::int64_t camera = 0;
  std::int64_t timeNs = 0;
  std::optional<double> x;  // empty: no number
  std::optional<double> y;
  std::optional<std::int64_t> frame = {};  // of the update that delivered it; empty: not told
};

// Takes what a result holds, one by one, in its order.
struct ResultSink {
  std::function<void(ResultRow const&)> onRow;
  std::function<void(DeliveredSample const&)> onSample;  // null: batches are passed over
  std::function<void(Json const&)> onExplained;          // an object of "explained"; null: they are passed over
  std::vector<Column> needed = {Column::kFrame};         // of every row

  bool Needs(ResultColumn const& column) const {
    return std::find(needed.begin(), needed.end(), static_cast<Column>(&column - kResultColumns.data())) !=
           needed.end();
  }
};

// What a result holds besides rows and batches.
struct ResultHead {
  std::string name;               // of the file, for titles and messages
  std::size_t schema = 0;         // of those that were expected
  Json members = Json::object();  // of JSON; of a replay those that are known
  bool isCsv = false;
  bool hasRows = false;  // a list of them, which may be empty
  bool isComplete = true;
  std::string error;          // why it is not
  std::uint64_t leftOut = 0;  // values of columns that results do not have
  std::string firstLeftOut;   // the first of these columns; empty: there is none
  std::string leftOutPlace;   // where its name stands: ":LINE" or ": PLACE"

  // An empty object or list where there is none, as in CSV.
  Json const& Member(char const* key) const;
};

// "FILE:PLACE: expected columns of a result (...), found 'COLUMN'": about the first one that was left out.
std::string LeftOutText(ResultHead const& head);

// Hands out rows and samples as they are read and checks each value by the table of columns; holds one row. A file that
// begins with a brace, a bracket or a blank is JSON of one of `schemas`, any other CSV. "-" is standard input.
//
// Throws UnusableInput, "FILE: PLACE: expected EXPECTATION, found TEXT", for what is neither, and beyond these limits:
// JSON of 256 MB, a line of CSV or a value of JSON of 1 MB, 64 levels, and around the rows 1000 members in an object
// and a million values.
ResultHead ReadResult(std::string const& path, std::vector<Schema> const& schemas, ResultSink const& sink);

// The part of ReadResult that reads JSON: fills `head.members`, and checks none of them.
void ReadJson(recording::InputFile& file, ResultSink const& sink, ResultHead& head);

// For messages: not too long.
std::string ShownValue(Json const& value);

// Throws UnusableInput, "PLACE: expected EXPECTED, found FOUND".
[[noreturn]] void RefuseValue(std::string const& place, std::string const& expected, std::string const& found);

}  // namespace shadingctl
