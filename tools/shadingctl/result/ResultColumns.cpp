#include "tools/shadingctl/result/ResultColumns.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>

namespace shadingctl {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr ValueRange kNatural32 = {ValueType::kNatural, 0, 4294967295.0};
constexpr ValueRange kNatural64 = {ValueType::kNatural, 0, kInfinity};
constexpr ValueRange kWhole32 = {ValueType::kWhole, -2147483648.0, 2147483647.0};
constexpr ValueRange kWhole64 = {ValueType::kWhole, -kInfinity, kInfinity};
constexpr ValueRange kPosition = {ValueType::kNumber, -kInfinity, kInfinity};
constexpr ValueRange kDistance = {ValueType::kNumber, 0, kInfinity};
constexpr ValueRange kShare = {ValueType::kNumber, 0, 1};
constexpr ValueRange kText = {ValueType::kText};
constexpr ValueRange kTwoTimes = {ValueType::kRange};

// With the digits that are shown.
Json Number(std::optional<double> const& number, std::string (*text)(double)) {
  return number ? Json(std::strtod(text(*number).c_str(), nullptr)) : Json(nullptr);
}

Json Times(std::optional<AlignedRange> const& range) {
  return range ? Json{range->firstUs, range->lastUs} : Json(nullptr);
}

// A frame that is exposed for longer than its time has no start.
Json StartOfFrame(FrameResult const& r) {
  if (!r.times || r.times->exposureUs > r.timestampNs / 1000) return nullptr;
  return static_cast<std::int64_t>(r.times->startOfFrameUs);
}

constexpr char kLensUnit[] = "unit of the samples";

}  // namespace

std::array<ResultColumn, kColumnCount> const kResultColumns = {{
    {"frame", kNatural32, true, "", 0, [](FrameResult const& r) { return Json(r.frame); }},
    {"timestamp_ns", kNatural64, true, "ns", 0, [](FrameResult const& r) { return Json(r.timestampNs); }},
    {"type", kWhole32, true, "", 0, [](FrameResult const& r) { return Json(r.type); }},
    {"match", kText, true, "", 0, [](FrameResult const& r) { return Json(Name(r.match)); }},
    {"samples", kNatural32, true, "", 1, [](FrameResult const& r) { return OrNull(r.samples); }},
    {"start_index", kWhole32, true, "", 1, [](FrameResult const& r) { return OrNull(r.startIndex); }},
    {"end_index", kWhole32, true, "", 1, [](FrameResult const& r) { return OrNull(r.endIndex); }},
    {"offset_us", kWhole64, true, "µs", 1, [](FrameResult const& r) { return OrNull(r.offsetUs); }},
    {"start_distance_us", kWhole64, true, "µs", 4, [](FrameResult const& r) { return OrNull(r.startDistanceUs); }},
    {"span_age_us", kWhole64, true, "µs", 4, [](FrameResult const& r) { return OrNull(r.spanAgeUs); }},
    {"hall_x", kPosition, true, kLensUnit, 0, [](FrameResult const& r) { return Number(r.hallX, PositionText); },
     PositionText},
    {"hall_y", kPosition, true, kLensUnit, 0, [](FrameResult const& r) { return Number(r.hallY, PositionText); },
     PositionText},
    {"message", kText, true, "", 0, [](FrameResult const& r) { return OrNull(r.message); }},
    {"camera", kWhole32, true, "", 0, [](FrameResult const& r) { return Json(r.camera); }},
    {"end", kText, true, "", 4, [](FrameResult const& r) { return r.end ? Json(Name(*r.end)) : Json(nullptr); }},
    {"end_distance_us", kWhole64, true, "µs", 4, [](FrameResult const& r) { return OrNull(r.endDistanceUs); }},
    {"coverage", kShare, true, "", 4, [](FrameResult const& r) { return Number(r.coverage, ShareText); }, ShareText},
    {"repeated_samples", kNatural64, true, "", 4, [](FrameResult const& r) { return OrNull(r.repeatedSamples); }},
    {"readout_distance", kDistance, true, kLensUnit, 1,
     [](FrameResult const& r) { return Number(r.readoutDistance, DistanceText); }, DistanceText},
    {"start_of_frame_us", kWhole64, false, "µs", 1, StartOfFrame},
    {"exposure_us", kNatural64, false, "µs", 1,
     [](FrameResult const& r) { return r.times ? Json(r.times->exposureUs) : Json(nullptr); }},
    {"readout_us", kNatural64, false, "µs", 1,
     [](FrameResult const& r) { return r.times ? Json(r.times->readoutUs) : Json(nullptr); }},
    {"window_us", kTwoTimes, false, "µs", 4, [](FrameResult const& r) { return Times(r.window); }},
    {"span_us", kTwoTimes, false, "µs", 4, [](FrameResult const& r) { return Times(r.spanTime); }},
}};

ResultColumn const* ColumnNamed(std::string_view name) {
  auto const* const found = std::find_if(kResultColumns.begin(), kResultColumns.end(),
                                         [&](ResultColumn const& column) { return column.name == name; });
  return found == kResultColumns.end() ? nullptr : found;
}

std::string ExpectedValue(ResultColumn const& column) {
  if (column.values.type == ValueType::kText) return "a text";
  if (column.values.type == ValueType::kRange) return "a list of two whole numbers";
  std::string const kind = column.values.type == ValueType::kNumber ? "a number" : "a whole number";
  bool const hasMost = std::isfinite(column.values.most);
  if (!std::isfinite(column.values.least)) return kind;
  return hasMost ? fmt::format("{} from {:.0f} to {:.0f}", kind, column.values.least, column.values.most)
                 : fmt::format("{} from {:.0f}", kind, column.values.least);
}

bool IsValueOf(ResultColumn const& column, Json const& value) {
  if (value.is_null()) return true;
  auto const isWhole = [](Json const& number) { return number.is_number_integer(); };
  ValueType const type = column.values.type;
  if (type == ValueType::kText) return value.is_string();
  if (type == ValueType::kRange) {
    return value.is_array() && value.size() == 2 && isWhole(value[0]) && isWhole(value[1]);
  }
  bool const isOfType = type == ValueType::kNatural ? value.is_number_unsigned()
                        : type == ValueType::kWhole ? isWhole(value)
                                                    : value.is_number();
  if (!isOfType) return false;
  auto const number = value.get<double>();
  return !std::isfinite(number) || (number >= column.values.least && number <= column.values.most);
}

bool ResultRow::Has(Column column) const {
  return cells.contains(kResultColumns[static_cast<std::size_t>(column)].name);
}

Json const& ResultRow::Of(Column column) const {
  static Json const none;
  auto const cell = cells.find(kResultColumns[static_cast<std::size_t>(column)].name);
  return cell == cells.end() ? none : *cell;
}

ResultRow RowOf(FrameResult const& frame) {
  ResultRow row;
  for (ResultColumn const& column : kResultColumns) row.cells[column.name] = column.of(frame);
  return row;
}

std::optional<double> NumberOf(Json const& value) {
  return value.is_number() ? std::optional(value.get<double>()) : std::nullopt;
}

std::string ValueText(ResultColumn const& column, Json const& value) {
  if (value.is_null()) return {};
  if (value.is_string()) return value.get<std::string>();
  return value.is_number() && column.numberText != nullptr ? column.numberText(value.get<double>()) : value.dump();
}

bool IsSameValue(ResultColumn const& column, Json const& a, Json const& b, double tolerance) {
  auto const isNone = [](Json const& value) {
    return value.is_null() || (value.is_number_float() && !std::isfinite(value.get<double>()));
  };
  if (isNone(a) || isNone(b)) return isNone(a) == isNone(b);
  bool const isNumber = column.values.type == ValueType::kNumber && a.is_number() && b.is_number();
  return isNumber ? std::abs(a.get<double>() - b.get<double>()) <= tolerance : a == b;
}

std::string CsvHeader() {
  std::string header;
  for (ResultColumn const& column : kResultColumns) {
    if (column.isInCsv) header += std::string(header.empty() ? "" : ",") + column.name;
  }
  return header + "\n";
}

std::string CsvRow(FrameResult const& frame) {
  std::string row;
  for (ResultColumn const& column : kResultColumns) {
    if (column.isInCsv) row += ValueText(column, column.of(frame)) + ",";
  }
  row.back() = '\n';
  return row;
}

}  // namespace shadingctl
