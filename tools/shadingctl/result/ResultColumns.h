// The columns of a result in one table. CSV, JSON, the reader, the comparison, the page and docs/replay-output.md take
// them from here.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "tools/shadingctl/frame/Frame.h"
#include "tools/shadingctl/output/Json.h"

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

enum class ValueType { kNatural, kWhole, kNumber, kText, kRange };

// What a column may hold.
struct ValueRange {
  ValueType type;
  double least = 0;  // of numbers
  double most = 0;
};

struct ResultColumn {
  char const* name;
  ValueRange values;
  bool isInCsv;  // the others are in JSON alone
  char const* unit;
  int level;                                    // the library's log level from which the column holds its values
  char const* meaning;                          // in Markdown
  Json (*of)(FrameResult const&);               // null for none
  std::string (*numberText)(double) = nullptr;  // of kNumber: as many digits as are known
};

extern std::array<ResultColumn, kColumnCount> const kResultColumns;

// Null for an unknown name.
ResultColumn const* ColumnNamed(std::string_view name);

// "a whole number from 0 to 4294967295", as messages and the documentation name the column's values.
std::string ExpectedValue(ResultColumn const& column);

// Whether the column may hold it: null, or a value of its type and range.
bool IsValueOf(ResultColumn const& column, Json const& value);

// The columns that a result has, each with a value or null, since the log level may hold it back.
struct ResultRow {
  Json cells = Json::object();
  std::uint64_t place = 0;  // the line in CSV, the index in JSON

  bool Has(Column column) const;
  Json const& Of(Column column) const;  // null without the column
  // Of std::uint64_t, std::int64_t, double or std::string; null for a value of another type.
  template <class Type>
  Type const* Get(Column column) const {
    return Of(column).get_ptr<Type const*>();
  }
};

ResultRow RowOf(FrameResult const& frame);

// The value as CSV has it: empty for null.
std::string ValueText(ResultColumn const& column, Json const& value);

// Whether two values of one column are the same; numbers of kNumber may differ by `tolerance`. JSON has no number that
// is not finite, so such a number counts as null.
bool IsSameValue(ResultColumn const& column, Json const& a, Json const& b, double tolerance);
// nullopt for what is no number.
std::optional<double> NumberOf(Json const& value);

// Both with a line feed.
std::string CsvHeader();
std::string CsvRow(FrameResult const& frame);

}  // namespace shadingctl
