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
    {"frame", kNatural32, true, "", 0, "frame number", [](FrameResult const& r) { return Json(r.frame); }},
    {"timestamp_ns", kNatural64, true, "ns", 0, "frame timestamp",
     [](FrameResult const& r) { return Json(r.timestampNs); }},
    {"type", kWhole32, true, "", 0, "kind of frame, as the recording or `--type` says",
     [](FrameResult const& r) { return Json(r.type); }},
    {"match", kText, true, "", 0, "how the frame was matched, see below",
     [](FrameResult const& r) { return Json(Name(r.match)); }},
    {"samples", kNatural32, true, "", 1, "samples that the library found for the frame: 100 or 0",
     [](FrameResult const& r) { return OrNull(r.samples); }},
    {"start_index", kWhole32, true, "", 1, "first entry of the span, in the library's table of aligned samples",
     [](FrameResult const& r) { return OrNull(r.startIndex); }},
    {"end_index", kWhole32, true, "", 1, "last entry of the span",
     [](FrameResult const& r) { return OrNull(r.endIndex); }},
    {"offset_us", kWhole64, true, "µs", 1,
     "the [offset](timing.md#the-clock), which is subtracted from every sample's time to align it; negative",
     [](FrameResult const& r) { return OrNull(r.offsetUs); }},
    {"start_distance_us", kWhole64, true, "µs", 4,
     "distance of the span's first entry from the start of the frame; from level 1 for `start`, and for `single` with "
     "a start",
     [](FrameResult const& r) { return OrNull(r.startDistanceUs); }},
    {"span_age_us", kWhole64, true, "µs", 4,
     "how much older than the start of the frame the span's first entry is; negative when it is later",
     [](FrameResult const& r) { return OrNull(r.spanAgeUs); }},
    {"hall_x", kPosition, true, kLensUnit, 0,
     "position that the caller's vectors hold after the call, with nine significant digits; empty before the first "
     "success",
     [](FrameResult const& r) { return Number(r.hallX, PositionText); }, PositionText},
    {"hall_y", kPosition, true, kLensUnit, 0, "the other axis",
     [](FrameResult const& r) { return Number(r.hallY, PositionText); }, PositionText},
    {"message", kText, true, "", 0,
     "why there is no start at the frame, see [Notes](#notes), with figures from levels 1 (history) and 4 (nearest "
     "sample); the table calls it note",
     [](FrameResult const& r) { return OrNull(r.message); }},
    {"camera", kWhole32, true, "", 0,
     "sensor id of the camera; in the table the first column, and there only where a recording has several",
     [](FrameResult const& r) { return Json(r.camera); }},
    {"end", kText, true, "", 4,
     "how the end of the span was found: `near`, its last entry lies within 1500 µs of one readout after its first "
     "entry, or `last`, no entry does, and the window's last one stands in its place",
     [](FrameResult const& r) { return r.end ? Json(Name(*r.end)) : Json(nullptr); }},
    {"end_distance_us", kWhole64, true, "µs", 4,
     "distance of the span's last entry from one readout after its first entry",
     [](FrameResult const& r) { return OrNull(r.endDistanceUs); }},
    {"coverage", kShare, true, "", 4,
     "share of the search interval that lies between the span's first and last entry; empty without a readout time. "
     "The table calls it covers, in percent",
     [](FrameResult const& r) { return Number(r.coverage, ShareText); }, ShareText},
    {"repeated_samples", kNatural64, true, "", 4,
     "samples of the span that repeat an earlier one, so that they weigh twice in a mean: they follow the entry before "
     "them after less than a quarter of the window's median interval, with the same position",
     [](FrameResult const& r) { return OrNull(r.repeatedSamples); }},
    {"readout_distance", kDistance, true, kLensUnit, 1,
     "how far the position is from the mean of the samples of the frame's own search interval: all samples from 1500 "
     "µs before it to 1500 µs after it, with whatever frame they were delivered. Only of `start` and `carried`",
     [](FrameResult const& r) { return Number(r.readoutDistance, DistanceText); }, DistanceText},
    {"start_of_frame_us", kWhole64, false, "µs", 1,
     "timestamp less exposure, as the library reckons; `null` where that would lie before time 0", StartOfFrame},
    {"exposure_us", kNatural64, false, "µs", 1, "exposure time",
     [](FrameResult const& r) { return r.times ? Json(r.times->exposureUs) : Json(nullptr); }},
    {"readout_us", kNatural64, false, "µs", 1, "readout time that the library went by",
     [](FrameResult const& r) { return r.times ? Json(r.times->readoutUs) : Json(nullptr); }},
    {"window_us", kTwoTimes, false, "µs", 4, "aligned times of the first and the last entry of the window",
     [](FrameResult const& r) { return Times(r.window); }},
    {"span_us", kTwoTimes, false, "µs", 4, "aligned times of the first and the last entry of the span",
     [](FrameResult const& r) { return Times(r.spanTime); }},
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
