#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cmath>
#include <numeric>

#include "tools/shadingctl/calibration/CalibrationFormats.h"
#include "tools/shadingctl/calibration/CalibrationVerdict.h"
#include "tools/shadingctl/output/Json.h"

namespace shadingctl {
namespace {

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

Json CameraJson(CameraCalibration const& camera) {
  return {{"camera", camera.sensorIndex},
          {"mask", 1 << camera.sensorIndex},
          {"file", OrNull(camera.file.name)},
          {"file_bytes", OrNull(camera.file.size)},
          {"file_problem", OrNull(camera.file.problem)},
          {"table", TableJson(camera)},
          {"block", BlockJson(camera)},
          {"messages", camera.messages}};
}

Json TablesJson() {
  Json tables = Json::array();
  for (TableRange const& range : kTableRanges) {
    tables.push_back({{"index", range.table}, {"from", OrNull(range.from)}, {"to", OrNull(range.to)}});
  }
  return tables;
}

}  // namespace

Json CalibrationJson(std::string const& device, std::vector<CameraCalibration> const& cameras) {
  Json json = {{"schema", "shadingctl-calibration"},
               {"version", 1},
               {"device", device},
               {"tables", TablesJson()},
               {"cameras", Json::array()}};
  for (CameraCalibration const& camera : cameras) json["cameras"].push_back(CameraJson(camera));
  return json;
}

}  // namespace shadingctl
