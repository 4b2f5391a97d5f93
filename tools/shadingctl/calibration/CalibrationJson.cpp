#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <string_view>

#include "tools/shadingctl/calibration/CameraCalibration.h"

namespace shadingctl {
namespace {

constexpr std::size_t kValuesPerRow = 130;
constexpr int kValidRecord = 1;          // byte 0 of a record
constexpr unsigned int kValidBlock = 1;  // its last byte
constexpr int kMirroredLength = static_cast<int>(kBlockRows * kValuesPerRow * 2) + 1;

// The gradients that lead to a table; nullopt where nothing limits them.
struct TableRange {
  int table = 0;
  std::optional<int> from;
  std::optional<int> to;
};
constexpr TableRange kTableRanges[] = {{5, std::nullopt, -9}, {3, -8, -5}, {1, -4, 4}, {2, 5, 8}, {4, 9, std::nullopt}};

// The other kinds of blocks, besides those that CameraCalibration.h names.
constexpr std::string_view kStored = "as stored";
constexpr std::string_view kMirrored = "mirrored";
constexpr std::string_view kDefaultFill = "default fill";

struct Verdict {
  bool sound = false;         // the data are there and marked valid
  std::string reason;         // one line
  std::string defaultAnswer;  // what the caller gets instead; empty when it gets the data
};

std::string RangeOfTable(int table) {
  for (TableRange const& range : kTableRanges) {
    if (range.table != table) continue;
    if (!range.from) return fmt::format("is {} or less", *range.to);
    if (!range.to) return fmt::format("is {} or more", *range.from);
    return fmt::format("lies in {} to {}", *range.from, *range.to);
  }
  return "is in no known range";
}

// Why neither table nor block can be read: the reasons in configuration and file that both have in common.
std::string WhatIsMissing(CameraCalibration const& camera, bool hasKey, char const* key, char const* values) {
  if (!camera.places.hasFeature) return "the device's configuration has no feature FeatureShading";
  if (!hasKey) return fmt::format("the device's configuration has no {} under {}[{}]", values, key, camera.sensorIndex);
  if (camera.file.problem.empty()) return "the library does not say";
  return camera.file.name.empty() ? camera.file.problem : "the dump file " + camera.file.problem;
}

// "; the file holds 3 of its 11 bytes" where it does not hold all.
std::string CutRecord(DumpFile const& file) {
  if (file.recordBytes == kRecordSize) return {};
  if (!file.size) return "; the file " + file.problem;
  return fmt::format("; the file ({} bytes) holds {} of the record's {} bytes, the others read as 0", *file.size,
                     file.recordBytes, kRecordSize);
}

// Where the valid byte is not 1.
std::string WhyDefaultFill(CameraCalibration const& camera) {
  auto const& place = camera.places.block;
  std::int64_t const end = std::int64_t{place->offset} + place->length;
  bool const isCut = !camera.file.size || place->offset < 0 || end > *camera.file.size;
  if (!isCut)
    return fmt::format("the block is invalid: its valid byte is {:#04x}, not 0x01", camera.blockValid.value_or(0));
  if (!camera.file.size) return "the dump file " + camera.file.problem;
  return fmt::format("the block is bytes {} to {}, the file has {}: its valid byte reads as 0", place->offset, end - 1,
                     *camera.file.size);
}

Verdict JudgeTable(CameraCalibration const& camera) {
  constexpr char const* kDefault = "table 1";
  if (!camera.record) {
    return {false, WhatIsMissing(camera, camera.places.recordOffset.has_value(), "multiGolden", "offset"), kDefault};
  }
  std::string const cut = CutRecord(camera.file);
  if (camera.record->valid != kValidRecord) {
    return {false, fmt::format("the record is invalid: byte 0 is {}, not 1{}", camera.record->valid, cut), kDefault};
  }
  return {cut.empty(), fmt::format("gradient {:+} {}{}", camera.record->gradient, RangeOfTable(camera.table), cut), ""};
}

std::string_view KindOf(CameraCalibration const& camera) {
  if (!camera.blockAsked) return kNotAsked;
  if (!camera.block) return kUntouched;
  if (camera.blockValid != kValidBlock) return kDefaultFill;
  return camera.mirrored ? kMirrored : kStored;
}

Verdict JudgeBlock(CameraCalibration const& camera) {
  auto const& place = camera.places.block;
  std::int64_t const length = place ? place->length : 0;
  std::string_view const kind = KindOf(camera);
  std::string const says = fmt::format("PNCCaliData[{}] says {} bytes; ", camera.sensorIndex, length);
  if (kind == kStored) return {true, "valid; the sensor does not ask for mirrored rows", ""};
  if (kind == kMirrored) {
    return {true, "valid; the sensor asks for it, so values 1 to 129 of each row are reversed", ""};
  }
  if (kind == kNotAsked) {
    return {false, fmt::format("{}expected at most {}", says, kBlockLimit), "none known: the library was not asked"};
  }
  if (kind == kDefaultFill) return {false, WhyDefaultFill(camera), "0x2000 in every value"};
  std::string reason = WhatIsMissing(camera, place.has_value(), "PNCCaliData", "offset and length");
  if (place && (length < 4 || length % 4 > 1)) {
    reason = says + "expected 4k or 4k + 1, at least 4";
  } else if (camera.blockValid == kValidBlock) {
    reason = fmt::format("{}rows are to be mirrored, which needs {}", says, kMirroredLength);
  }
  return {false, reason, "the caller's buffer stays as it was"};
}

// The whole rows of a block, kBlockRows at most: 130 16-bit values, low byte first.
std::vector<std::vector<unsigned int>> RowsOf(std::vector<unsigned char> const& block) {
  std::vector<std::vector<unsigned int>> rows(std::min(block.size() / (2 * kValuesPerRow), kBlockRows));
  std::size_t at = 0;
  for (auto& row : rows) {
    for (std::size_t k = 0; k < kValuesPerRow; ++k, at += 2) row.push_back(block[at] + 256U * block[at + 1]);
  }
  return rows;
}

// Of the values of a block's rows. Requires: there are some.
Json StatisticsJson(std::vector<unsigned int> const& values) {
  constexpr double kSteps = 1000;  // as many decimals as the CSV has
  auto const [least, most] = std::minmax_element(values.begin(), values.end());
  double const mean = std::accumulate(values.begin(), values.end(), 0.0) / static_cast<double>(values.size());
  return {{"minimum", *least}, {"maximum", *most}, {"mean", std::round(mean * kSteps) / kSteps}};
}

// Each part of the record and what it says; "--" for a byte that the file does not supply.
Json RecordPartsJson(CameraCalibration const& camera) {
  Json parts = Json::array();
  if (!camera.record) return parts;
  DumpFile const& file = camera.file;
  auto const add = [&](std::size_t first, std::size_t last, std::string const& meaning) {
    std::string hex;
    for (std::size_t i = first; i <= last; ++i) {
      hex += (i == first ? "" : " ") + (i < file.recordBytes ? fmt::format("{:02x}", file.record[i]) : "--");
    }
    parts.push_back({{"bytes", first == last ? std::to_string(first) : fmt::format("{}-{}", first, last)},
                     {"hex", hex},
                     {"meaning", meaning}});
  };
  bool const isValid = camera.record->valid == kValidRecord;
  std::string const unused = isValid ? "" : ", not used";
  add(0, 0, isValid ? "1: the record is valid" : "not 1: the record is invalid");
  add(1, 4, "not interpreted");
  add(5, 5, fmt::format("magnitude of the gradient: {}{}", file.record[5], unused));
  add(6, 6,
      fmt::format("its sign: {}{}", file.record[6] > 128 ? "negative (129 to 255)" : "positive (0 to 128)", unused));
  add(7, 9, "not interpreted");
  add(10, 10, "flag_f: only logged");
  return parts;
}

Json TableJson(CameraCalibration const& camera) {
  Verdict const verdict = JudgeTable(camera);
  Json json = {{"index", camera.table},     {"sound", verdict.sound},
               {"reason", verdict.reason},  {"default", OrNull(verdict.defaultAnswer)},
               {"settled", camera.settled}, {"record_offset", OrNull(camera.places.recordOffset)},
               {"record", nullptr},         {"valid_byte", nullptr},
               {"gradient", nullptr},       {"flag", nullptr},
               {"flag_f", nullptr},         {"record_parts", RecordPartsJson(camera)}};
  if (camera.record) {
    DumpFile const& file = camera.file;
    json["record"] = fmt::format("{:02x}", fmt::join(file.record.begin(), file.record.begin() + file.recordBytes, " "));
    json["valid_byte"] = camera.record->valid;
    if (camera.record->valid == kValidRecord) json["gradient"] = camera.record->gradient;
    json["flag"] = camera.record->flag;
    json["flag_f"] = camera.record->furtherFlag;
  }
  return json;
}

Json BlockJson(CameraCalibration const& camera) {
  Verdict const verdict = JudgeBlock(camera);
  auto const& place = camera.places.block;
  Json json = {{"kind", KindOf(camera)},
               {"sound", verdict.sound},
               {"reason", verdict.reason},
               {"default", OrNull(verdict.defaultAnswer)},
               {"offset", place ? Json(place->offset) : nullptr},
               {"length", place ? Json(place->length) : nullptr},
               {"valid_byte", OrNull(camera.blockValid)},
               {"mirrored", camera.mirrored},
               {"default_fill", KindOf(camera) == kDefaultFill},
               {"minimum", nullptr},
               {"maximum", nullptr},
               {"mean", nullptr},
               {"rows", Json::array()},
               {"stored", RowsOf(camera.file.block)},
               {"values", Json::array()}};
  if (!camera.block) return json;
  auto const rows = RowsOf(*camera.block);
  std::vector<unsigned int> all;
  for (auto const& row : rows) {
    json["rows"].push_back(StatisticsJson(row));
    all.insert(all.end(), row.begin(), row.end());
  }
  if (!all.empty()) json.update(StatisticsJson(all));
  json["values"] = rows;
  return json;
}

}  // namespace

Json CalibrationJson(std::string const& device, std::vector<CameraCalibration> const& cameras) {
  Json tables = Json::array();
  for (TableRange const& range : kTableRanges) {
    tables.push_back({{"index", range.table}, {"from", OrNull(range.from)}, {"to", OrNull(range.to)}});
  }
  Json list = Json::array();
  for (CameraCalibration const& camera : cameras) {
    list.push_back({{"camera", camera.sensorIndex},
                    {"mask", 1 << camera.sensorIndex},
                    {"file", OrNull(camera.file.name)},
                    {"file_bytes", OrNull(camera.file.size)},
                    {"file_problem", OrNull(camera.file.problem)},
                    {"table", TableJson(camera)},
                    {"block", BlockJson(camera)},
                    {"messages", camera.messages}});
  }
  return {{"schema", "shadingctl-calibration"},
          {"version", 1},
          {"device", device},
          {"tables", std::move(tables)},
          {"cameras", std::move(list)}};
}

}  // namespace shadingctl
