#include "tools/shadingctl/result/ResultReader.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <charconv>
#include <string_view>
#include <system_error>
#include <utility>

#include "recording/CsvFile.h"

namespace shadingctl {
namespace {

template <class Number>
bool Parse(std::string_view text, Number& number) {
  auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc{} && end == text.data() + text.size();
}

// The value that JSON would have.
Json ScalarOf(ResultColumn const& column, std::string_view text) {
  std::uint64_t natural = 0;
  std::int64_t whole = 0;
  double number = 0;
  if (text.empty()) return nullptr;
  if (column.values.type == ValueType::kText) return std::string(text);
  if (Parse(text, natural)) return natural;
  if (Parse(text, whole)) return whole;
  if (Parse(text, number)) return number;
  return std::string(text);
}

void ReadCsv(recording::InputFile file, ResultSink const& sink, ResultHead& head) {
  std::vector<recording::CsvFile::Column> columns;
  for (ResultColumn const& column : kResultColumns) {
    if (column.isInCsv) columns.push_back({column.name, sink.Needs(column)});
  }
  recording::CsvFile csv(std::move(file), columns);
  head.firstLeftOut = csv.FirstUnwanted();
  head.leftOutPlace = ":1";
  while (csv.Next()) {
    ResultRow row;
    row.place = csv.Line();
    for (std::size_t i = 0; i < columns.size(); ++i) {
      if (!csv.Names(i)) continue;
      ResultColumn const& column = *ColumnNamed(columns[i].name);
      Json value = ScalarOf(column, csv.Text(i));
      if (!IsValueOf(column, value) || (value.is_null() && sink.Needs(column))) csv.Refuse(i, ExpectedValue(column));
      row.cells[column.name] = std::move(value);
    }
    head.leftOut += csv.Unwanted();
    sink.onRow(row);
  }
}

// Checks what every document has, and what a replay has around its rows.
void CheckMembers(std::vector<Schema> const& schemas, ResultHead& head) {
  auto const shown = [&](char const* key) { return ShownValue(head.members.value(key, Json())); };
  auto const refuse = [&](char const* key, std::string const& expected) {
    RefuseValue(fmt::format("{}: {}", head.name, key), expected, shown(key));
  };
  std::vector<std::string> names;
  for (Schema const& schema : schemas) names.push_back(fmt::format("\"{}\"", schema.name));
  while (head.schema < schemas.size() && names[head.schema] != shown("schema")) ++head.schema;
  if (head.schema == schemas.size()) refuse("schema", fmt::format("{}", fmt::join(names, " or ")));
  std::string const version = std::to_string(schemas[head.schema].version);
  if (shown("version") != version) refuse("version", version);
  if (std::string_view(schemas[head.schema].name) != kReplaySchema.name) return;
  if (!head.hasRows) refuse("frames", "a list");
  for (char const* const key : {"settings", "summary"}) {
    if (!head.Member(key).is_object()) refuse(key, "an object");
  }
  if (!head.Member("findings").is_array()) refuse("findings", "a list");
  for (Json const& finding : head.Member("findings")) {
    if (!finding.is_object()) RefuseValue(head.name + ": findings", "a list of objects", ShownValue(finding));
  }
  Json const complete = head.members.value("complete", Json(true));
  Json const error = head.members.value("error", Json());
  if (!complete.is_boolean()) refuse("complete", "true or false");
  if (!error.is_string() && !error.is_null()) refuse("error", "a text or null");
  head.isComplete = complete.get<bool>();
  if (error.is_string()) head.error = error.get<std::string>();
}

}  // namespace

Json const& ResultHead::Member(char const* key) const {
  static Json const emptyList = Json::array();
  static Json const emptyObject = Json::object();
  auto const member = members.find(key);
  if (member != members.end()) return *member;
  return std::string_view(key) == "findings" ? emptyList : emptyObject;
}

std::string LeftOutText(ResultHead const& head) {
  std::vector<char const*> known;
  for (ResultColumn const& column : kResultColumns) known.push_back(column.name);
  return fmt::format("{}{}: expected columns of a result ({}), found '{}'", head.name, head.leftOutPlace,
                     fmt::join(known, ", "), head.firstLeftOut);
}

ResultHead ReadResult(std::string const& path, std::vector<Schema> const& schemas, ResultSink const& sink) {
  recording::InputFile file(path);
  ResultHead head;
  head.name = file.Name();
  std::optional<char> const first = file.Peek();
  if (!first) RefuseValue(head.name + ":1", "a replay's result, JSON or CSV", "nothing");
  head.isCsv = std::string_view("{[ \t\r\n").find(*first) == std::string_view::npos;
  if (head.isCsv) {
    ReadCsv(std::move(file), sink, head);
  } else {
    ReadJson(file, sink, head);
    CheckMembers(schemas, head);
  }
  return head;
}

}  // namespace shadingctl
