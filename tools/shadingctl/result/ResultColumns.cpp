#include "tools/shadingctl/result/ResultColumns.h"

#include <fmt/format.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <type_traits>

#include "tools/shadingctl/output/Json.h"

namespace shadingctl {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNatural32 = 4294967295.0;
constexpr double kLowest32 = -2147483648.0;
constexpr double kHighest32 = 2147483647.0;

template <class Integer>
Value Whole(std::optional<Integer> const& number) {
  using Wide = std::conditional_t<std::is_unsigned_v<Integer>, std::uint64_t, std::int64_t>;
  return number ? Value(static_cast<Wide>(*number)) : Value(None{});
}

Value Text(std::string const& text) { return text.empty() ? Value(None{}) : Value(text); }

// With the digits that are shown.
Value Number(std::optional<double> const& number, std::string (*text)(double)) {
  return number ? Value(std::strtod(text(*number).c_str(), nullptr)) : Value(None{});
}

Value Times(std::optional<AlignedRange> const& range) {
  return range ? Value(UsRange{range->firstUs, range->lastUs}) : Value(None{});
}

// A frame that is exposed for longer than its time has no start.
Value StartOfFrame(FrameResult const& r) {
  if (!r.times || r.times->exposureUs > r.timestampNs / 1000) return None{};
  return static_cast<std::int64_t>(r.times->startOfFrameUs);
}

constexpr char kLensUnit[] = "unit of the samples";

}  // namespace

std::array<ResultColumn, kColumnCount> const kResultColumns = {{
    {"frame", ValueType::kNatural, 0, kNatural32, true, "", 0, "frame number",
     [](FrameResult const& r) { return Value(std::uint64_t{r.frame}); }},
    {"timestamp_ns", ValueType::kNatural, 0, kInfinity, true, "ns", 0, "frame timestamp",
     [](FrameResult const& r) { return Value(r.timestampNs); }},
    {"type", ValueType::kWhole, kLowest32, kHighest32, true, "", 0, "kind of frame, as the recording or `--type` says",
     [](FrameResult const& r) { return Value(std::int64_t{r.type}); }},
    {"match", ValueType::kText, 0, 0, true, "", 0, "how the frame was matched, see below",
     [](FrameResult const& r) { return Value(std::string(Name(r.match))); }},
    {"samples", ValueType::kNatural, 0, kNatural32, true, "", 1,
     "samples that the library found for the frame: 100 or 0", [](FrameResult const& r) { return Whole(r.samples); }},
    {"start_index", ValueType::kWhole, kLowest32, kHighest32, true, "", 1,
     "first entry of the span, in the library's table of aligned samples",
     [](FrameResult const& r) { return Whole(r.startIndex); }},
    {"end_index", ValueType::kWhole, kLowest32, kHighest32, true, "", 1, "last entry of the span",
     [](FrameResult const& r) { return Whole(r.endIndex); }},
    {"offset_us", ValueType::kWhole, -kInfinity, kInfinity, true, "µs", 1,
     "the [offset](timing.md#the-clock), which is subtracted from every sample's time to align it; negative",
     [](FrameResult const& r) { return Whole(r.offsetUs); }},
    {"start_distance_us", ValueType::kWhole, -kInfinity, kInfinity, true, "µs", 4,
     "distance of the span's first entry from the start of the frame; from level 1 for `start`, and for `single` with "
     "a "
     "start",
     [](FrameResult const& r) { return Whole(r.startDistanceUs); }},
    {"span_age_us", ValueType::kWhole, -kInfinity, kInfinity, true, "µs", 4,
     "how much older than the start of the frame the span's first entry is; negative when it is later",
     [](FrameResult const& r) { return Whole(r.spanAgeUs); }},
    {"hall_x", ValueType::kNumber, -kInfinity, kInfinity, true, kLensUnit, 0,
     "position that the caller's vectors hold after the call, with nine significant digits; empty before the first "
     "success",
     [](FrameResult const& r) { return Number(r.hallX, PositionText); }, PositionText},
    {"hall_y", ValueType::kNumber, -kInfinity, kInfinity, true, kLensUnit, 0, "the other axis",
     [](FrameResult const& r) { return Number(r.hallY, PositionText); }, PositionText},
    {"message", ValueType::kText, 0, 0, true, "", 0,
     "why there is no start at the frame, see [Notes](#notes), with figures from levels 1 (history) and 4 (nearest "
     "sample); the table calls it note",
     [](FrameResult const& r) { return Text(r.message); }},
    {"camera", ValueType::kWhole, kLowest32, kHighest32, true, "", 0,
     "sensor id of the camera; in the table the first column, and there only where a recording has several",
     [](FrameResult const& r) { return Value(std::int64_t{r.camera}); }},
    {"end", ValueType::kText, 0, 0, true, "", 4,
     "how the end of the span was found: `near`, its last entry lies within 1500 µs of one readout after its first "
     "entry, or `last`, no entry does, and the window's last one stands in its place",
     [](FrameResult const& r) { return Text(r.end ? Name(*r.end) : ""); }},
    {"end_distance_us", ValueType::kWhole, -kInfinity, kInfinity, true, "µs", 4,
     "distance of the span's last entry from one readout after its first entry",
     [](FrameResult const& r) { return Whole(r.endDistanceUs); }},
    {"coverage", ValueType::kNumber, 0, 1, true, "", 4,
     "share of the search interval that lies between the span's first and last entry; empty without a readout time. "
     "The table calls it covers, in percent",
     [](FrameResult const& r) { return Number(r.coverage, ShareText); }, ShareText},
    {"repeated_samples", ValueType::kNatural, 0, kInfinity, true, "", 4,
     "samples of the span that repeat an earlier one, so that they weigh twice in a mean: they follow the entry before "
     "them after less than a quarter of the window's median interval, with the same position",
     [](FrameResult const& r) { return Whole(r.repeatedSamples); }},
    {"readout_distance", ValueType::kNumber, 0, kInfinity, true, kLensUnit, 1,
     "how far the position is from the mean of the samples of the frame's own search interval: all samples from 1500 "
     "µs before it to 1500 µs after it, with whatever frame they were delivered. Only of `start` and `carried`",
     [](FrameResult const& r) { return Number(r.readoutDistance, DistanceText); }, DistanceText},
    {"start_of_frame_us", ValueType::kWhole, -kInfinity, kInfinity, false, "µs", 1,
     "timestamp less exposure, as the library reckons; `null` where that would lie before time 0", StartOfFrame},
    {"exposure_us", ValueType::kNatural, 0, kInfinity, false, "µs", 1, "exposure time",
     [](FrameResult const& r) { return r.times ? Value(std::uint64_t{r.times->exposureUs}) : Value(None{}); }},
    {"readout_us", ValueType::kNatural, 0, kInfinity, false, "µs", 1, "readout time that the library went by",
     [](FrameResult const& r) { return r.times ? Value(std::uint64_t{r.times->readoutUs}) : Value(None{}); }},
    {"window_us", ValueType::kRange, 0, 0, false, "µs", 4,
     "aligned times of the first and the last entry of the window",
     [](FrameResult const& r) { return Times(r.window); }},
    {"span_us", ValueType::kRange, 0, 0, false, "µs", 4, "aligned times of the first and the last entry of the span",
     [](FrameResult const& r) { return Times(r.spanTime); }},
}};

std::string ExpectedValue(ResultColumn const& column) {
  if (column.type == ValueType::kText) return "a text";
  if (column.type == ValueType::kRange) return "a list of two whole numbers";
  std::string const kind = column.type == ValueType::kNumber ? "a number" : "a whole number";
  bool const hasMost = std::isfinite(column.most);
  if (!std::isfinite(column.least)) return kind;
  return hasMost ? fmt::format("{} from {:.0f} to {:.0f}", kind, column.least, column.most)
                 : fmt::format("{} from {:.0f}", kind, column.least);
}

ResultRow RowOf(FrameResult const& frame) {
  ResultRow row;
  for (std::size_t i = 0; i < kColumnCount; ++i) row.values[i] = kResultColumns[i].of(frame);
  return row;
}

std::optional<double> NumberOf(Value const& value) {
  return std::visit(
      [](auto const& held) -> std::optional<double> {
        if constexpr (std::is_arithmetic_v<std::decay_t<decltype(held)>>) return static_cast<double>(held);
        return std::nullopt;
      },
      value);
}

std::string ValueText(ResultColumn const& column, Value const& value) {
  if (auto const* const text = std::get_if<std::string>(&value)) return *text;
  if (auto const* const number = std::get_if<double>(&value)) return column.numberText(*number);
  if (auto const* const natural = std::get_if<std::uint64_t>(&value)) return std::to_string(*natural);
  if (auto const* const whole = std::get_if<std::int64_t>(&value)) return std::to_string(*whole);
  auto const* const range = std::get_if<UsRange>(&value);
  return range == nullptr ? std::string() : fmt::format("[{},{}]", (*range)[0], (*range)[1]);
}

std::string ValueJson(ResultColumn const& column, Value const& value) {
  if (auto const* const text = std::get_if<std::string>(&value)) return Dump(*text);
  auto const* const number = std::get_if<double>(&value);
  if (number != nullptr && !std::isfinite(*number)) return "null";
  std::string text = ValueText(column, value);
  return text.empty() ? "null" : text;
}

std::string RowJson(ResultRow const& row, bool withNone) {
  std::string json = "{";
  for (std::size_t i = 0; i < kColumnCount; ++i) {
    Value const& value = row.values[i];
    if (std::holds_alternative<Absent>(value) || (!withNone && std::holds_alternative<None>(value))) continue;
    if (json.size() > 1) json += ',';
    json += '"';
    json += kResultColumns[i].name;
    json += "\":";
    json += ValueJson(kResultColumns[i], value);
  }
  return json + "}";
}

bool IsSameValue(Value const& a, Value const& b, double tolerance) {
  auto const isThere = [](Value const& value) {
    auto const* const number = std::get_if<double>(&value);
    if (number != nullptr) return std::isfinite(*number);
    return !std::holds_alternative<Absent>(value) && !std::holds_alternative<None>(value);
  };
  if (!isThere(a) || !isThere(b)) return isThere(a) == isThere(b);
  auto const* const one = std::get_if<double>(&a);
  auto const* const other = std::get_if<double>(&b);
  return one != nullptr && other != nullptr ? std::abs(*one - *other) <= tolerance : a == b;
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

std::string PackRow(ResultRow const& row) {
  std::string bytes;
  auto const put = [&](void const* data, std::size_t size) { bytes.append(static_cast<char const*>(data), size); };
  put(&row.place, sizeof row.place);
  for (Value const& value : row.values) {
    bytes += static_cast<char>(value.index());
    std::visit(
        [&](auto const& held) {
          using Type = std::decay_t<decltype(held)>;
          if constexpr (std::is_same_v<Type, std::string>) {
            std::size_t const size = held.size();
            put(&size, sizeof size);
            put(held.data(), size);
          } else if constexpr (!std::is_same_v<Type, Absent> && !std::is_same_v<Type, None>) {
            put(&held, sizeof held);
          }
        },
        value);
  }
  return bytes;
}

ResultRow UnpackRow(std::string_view bytes) {
  auto const take = [&](auto held) {
    std::memcpy(&held, bytes.data(), sizeof held);
    bytes.remove_prefix(sizeof held);
    return held;
  };
  ResultRow row;
  row.place = take(std::uint64_t{});
  for (Value& value : row.values) {
    switch (take(char{})) {
      case 1:
        value = None{};
        break;
      case 2:
        value = take(std::uint64_t{});
        break;
      case 3:
        value = take(std::int64_t{});
        break;
      case 4:
        value = take(double{});
        break;
      case 5: {
        std::size_t const size = take(std::size_t{});
        value = std::string(bytes.substr(0, size));
        bytes.remove_prefix(size);
        break;
      }
      case 6:
        value = take(UsRange{});
        break;
      default:
        break;
    }
  }
  return row;
}

}  // namespace shadingctl
