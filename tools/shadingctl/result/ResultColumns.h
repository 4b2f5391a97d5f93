// The columns of a result in one table. CSV, JSON, the reader, the comparison, the page and docs/replay-output.md take
// them from here.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "tools/shadingctl/frame/FrameResult.h"

namespace shadingctl {

// In the order of the table.
enum class Column : std::size_t {
  kFrame,
  kTimestampNs,
  kType,
  kMatch,
  kSamples,
  kStartIndex,
  kEndIndex,
  kOffsetUs,
  kStartDistanceUs,
  kSpanAgeUs,
  kHallX,
  kHallY,
  kMessage,
  kCamera,
  kEnd,
  kEndDistanceUs,
  kCoverage,
  kRepeatedSamples,
  kReadoutDistance,
  kStartOfFrameUs,
  kExposureUs,
  kReadoutUs,
  kWindowUs,
  kSpanUs
};
constexpr std::size_t kColumnCount = 24;

using Absent = std::monostate;                // a result without the column
using None = std::nullptr_t;                  // a value that does not exist, or that the log level holds back
using UsRange = std::array<std::int64_t, 2>;  // first and last
using Value = std::variant<Absent, None, std::uint64_t, std::int64_t, double, std::string, UsRange>;

enum class ValueType { kNatural, kWhole, kNumber, kText, kRange };

struct ResultColumn {
  char const* name;
  ValueType type;
  double least;  // of numbers
  double most;
  bool isInCsv;  // the others are in JSON alone
  char const* unit;
  int level;            // the library's log level from which the column holds its values
  char const* meaning;  // in Markdown
  Value (*of)(FrameResult const&);
  std::string (*numberText)(double) = nullptr;  // of kNumber: as many digits as are known
};

extern std::array<ResultColumn, kColumnCount> const kResultColumns;

// "a whole number from 0 to 4294967295", as messages and the documentation name the column's values.
std::string ExpectedValue(ResultColumn const& column);

// A row as it was read, or as it is written.
struct ResultRow {
  std::array<Value, kColumnCount> values;  // in the order of the table
  std::uint64_t place = 0;                 // the line in CSV, the index in JSON

  Value const& Of(Column column) const { return values[static_cast<std::size_t>(column)]; }
  template <class Type>
  Type const* Get(Column column) const {
    return std::get_if<Type>(&Of(column));
  }
};

ResultRow RowOf(FrameResult const& frame);

// The value as CSV has it: empty for None.
std::string ValueText(ResultColumn const& column, Value const& value);
// As JSON has it; a number that is not finite is null, as JSON has none.
std::string ValueJson(ResultColumn const& column, Value const& value);
// {"frame":7,...}, without columns that are absent, and with `withNone` false without those that are null.
std::string RowJson(ResultRow const& row, bool withNone = true);

// Of values of one column; numbers of kNumber may differ by `tolerance`. JSON has no number that is not finite, so such
// a number is None.
bool IsSameValue(Value const& a, Value const& b, double tolerance);
// The value as a number; empty for what is none.
std::optional<double> NumberOf(Value const& value);

// Both with a line feed.
std::string CsvHeader();
std::string CsvRow(FrameResult const& frame);

// The whole row as bytes, for keeping, and back.
std::string PackRow(ResultRow const& row);
ResultRow UnpackRow(std::string_view bytes);

}  // namespace shadingctl
