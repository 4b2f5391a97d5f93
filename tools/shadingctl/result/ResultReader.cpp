#include "tools/shadingctl/result/ResultReader.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <charconv>
#include <string_view>
#include <system_error>

#include "tools/shadingctl/result/JsonReader.h"
#include "tools/shadingctl/result/ResultBytes.h"

namespace shadingctl {
namespace {

template <class Number>
bool Parse(std::string_view text, Number& number) {
  auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc{} && end == text.data() + text.size();
}

// What JSON would have.
Json ScalarOf(ResultColumn const& column, std::string_view text) {
  std::uint64_t natural = 0;
  std::int64_t whole = 0;
  double number = 0;
  if (text.empty()) return nullptr;
  if (column.type == ValueType::kText) return std::string(text);
  if (Parse(text, natural)) return natural;
  if (Parse(text, whole)) return whole;
  if (Parse(text, number)) return number;
  return std::string(text);
}

std::vector<std::string_view> FieldsOf(std::string_view line) {
  std::vector<std::string_view> fields;
  for (std::size_t comma = 0; (comma = line.find(',')) != std::string_view::npos;) {
    fields.push_back(line.substr(0, comma));
    line.remove_prefix(comma + 1);
  }
  fields.push_back(line);
  return fields;
}

class CsvReader {
 public:
  CsvReader(ResultBytes& bytes, ResultSink const& sink, ResultHead& head) : mBytes(bytes), mSink(sink), mHead(head) {}

  void Read() {
    ReadHeader();
    while (NextLine()) {
      std::vector<std::string_view> const fields = FieldsOf(mLine);
      if (fields.size() != mColumns.size()) {
        RefuseValue(Place(), fmt::format("{} values", mColumns.size()), std::to_string(fields.size()));
      }
      ResultRow row;
      row.place = mNumber;
      for (std::size_t i = 0; i < fields.size(); ++i) {
        if (mColumns[i] == kColumnCount) {
          ++mHead.leftOut;
        } else {
          row.values[mColumns[i]] = ValueOf(mColumns[i], fields[i]);
        }
      }
      mSink.onRow(row);
    }
  }

 private:
  // The next line that is not empty, without its end.
  bool NextLine() {
    while (mBytes.NextLine(mLine)) {
      ++mNumber;
      if (!mLine.empty() && mLine.back() == '\r') mLine.pop_back();
      if (!mLine.empty()) return true;
    }
    return false;
  }

  void ReadHeader() {
    constexpr char const* kAny = "a replay's result, JSON or CSV";
    if (!NextLine()) RefuseValue(mBytes.Name() + ":1", kAny, "nothing");
    std::vector<std::string_view> const names = FieldsOf(mLine);
    for (std::string_view const name : names) {
      auto const found = std::find_if(kResultColumns.begin(), kResultColumns.end(), [&](ResultColumn const& column) {
        return column.isInCsv && column.name == name;
      });
      mColumns.push_back(static_cast<std::size_t>(found - kResultColumns.begin()));
      if (found != kResultColumns.end() || !mHead.firstLeftOut.empty()) continue;
      mHead.firstLeftOut = name;
      mHead.leftOutPlace = ":1";
    }
    for (std::size_t i = 0; i < kColumnCount; ++i) {
      if (!mSink.Needs(i) || std::find(mColumns.begin(), mColumns.end(), i) != mColumns.end()) continue;
      RefuseValue(Place(), fmt::format("{} with the column {}", kAny, kResultColumns[i].name),
                  fmt::format("'{}'", names.front().substr(0, 60)));
    }
  }

  Value ValueOf(std::size_t index, std::string_view text) const {
    ResultColumn const& column = kResultColumns[index];
    auto value = ValueFor(column, ScalarOf(column, text));
    if (value && !(std::holds_alternative<None>(*value) && mSink.Needs(index))) return *std::move(value);
    RefuseValue(fmt::format("{}: {}", Place(), column.name), ExpectedValue(column), fmt::format("'{}'", text));
  }

  std::string Place() const { return fmt::format("{}:{}", mBytes.Name(), mNumber); }

  ResultBytes& mBytes;
  ResultSink const& mSink;
  ResultHead& mHead;
  std::string mLine;
  std::uint64_t mNumber = 0;
  std::vector<std::size_t> mColumns;  // of the file; kColumnCount: none of the table
};

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
  ResultBytes bytes(path);
  ResultHead head;
  head.name = bytes.Name();
  head.isCsv = bytes.AtEnd() || std::string_view("{[ \t\r\n").find(bytes.Current()) == std::string_view::npos;
  if (head.isCsv) {
    CsvReader(bytes, sink, head).Read();
  } else {
    ReadJson(bytes, sink, head);
    CheckMembers(schemas, head);
  }
  return head;
}

}  // namespace shadingctl
