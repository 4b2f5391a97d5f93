#include "tools/shadingctl/calibration/CalibrationWriter.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cmath>
#include <iterator>

#include "tools/shadingctl/calibration/CalibrationVerdict.h"
#include "tools/shadingctl/output/Json.h"

namespace shadingctl {
namespace {

std::string MaskText(CameraCalibration const& camera) { return fmt::format("{:#04x}", 1 << camera.sensorIndex); }

std::string FileText(CameraCalibration const& camera) {
  DumpFile const& file = camera.file;
  if (file.name.empty()) return file.problem;
  return file.size ? fmt::format("{}, {} bytes", file.name, *file.size) : fmt::format("{} {}", file.name, file.problem);
}

bool IsValid(CameraCalibration const& camera) { return camera.record && camera.record->valid == 1; }

// The defaults that the camera's caller gets, or nothing.
std::string DefaultsText(Verdict const& table, Verdict const& block) {
  std::string text = table.defaultAnswer;
  if (!block.defaultAnswer.empty()) text += (text.empty() ? "" : "; ") + ("block: " + block.defaultAnswer);
  return text;
}

// ---- Table

void WriteOverview(OutputFile& output, std::vector<CameraCalibration> const& cameras) {
  constexpr char const* kColumns = "{:>6}  {:>6}  {:>5}  {:>8}  {:<7}  {:<12}  {:>6}  {}";
  auto const write = [&](auto const&... cells) {
    std::string row = fmt::format(kColumns, cells...);
    row.erase(row.find_last_not_of(' ') + 1);
    output.Write(row + "\n");
  };
  write("camera", "mask", "table", "gradient", "settled", "PNC block", "mean", "default in use");
  for (CameraCalibration const& camera : cameras) {
    std::string const mean =
        camera.block ? fmt::format("{:.3f}", MeasureBlock(*camera.block).all.mean / kUnity) : std::string("-");
    write(camera.sensorIndex, MaskText(camera), camera.table,
          IsValid(camera) ? fmt::format("{:+}", camera.record->gradient) : "-", camera.settled ? "yes" : "no",
          Name(KindOf(camera)), mean, DefaultsText(JudgeTable(camera), JudgeBlock(camera)));
  }
  output.Write(
      "\nmean: of the block's values, 0x2000 (8192) being 1. settled: asked again, the library answers the table\n"
      "from its cache and looks at nothing. Where a default is in use, the reason stands below.\n");
}

void WriteTable(OutputFile& output, CameraCalibration const& camera) {
  Verdict const verdict = JudgeTable(camera);
  output.Write(fmt::format("  Golden table {}{}: {}\n", camera.table,
                           verdict.defaultAnswer.empty() ? "" : ", the default", verdict.reason));
  output.Write(camera.settled ? "    settled: asked again, it is answered from the cache\n"
                              : "    not settled: every question looks at the file again\n");
  if (!camera.record) return;
  output.Write(fmt::format("    multi-golden record at {} ({:#x}):\n", *camera.places.recordOffset,
                           *camera.places.recordOffset));
  for (RecordPart const& part : ExplainRecord(camera)) {
    output.Write(fmt::format("      {:<10} {:<12} {}\n", (part.bytes.size() > 2 ? "bytes " : "byte ") + part.bytes,
                             part.hex, part.meaning));
  }
  if (IsValid(camera)) {
    output.Write(fmt::format("      signed gradient {:+}, flag {}\n", camera.record->gradient, camera.record->flag));
  }
}

void WriteRow(OutputFile& output, std::string const& name, RowStatistics const& row) {
  output.Write(fmt::format("      {:<4} {:>8} {:>8} {:>9.1f} {:>9.3f} {:>9.3f} {:>9.3f}\n", name, row.minimum,
                           row.maximum, row.mean, row.minimum / kUnity, row.maximum / kUnity, row.mean / kUnity));
}

void WriteBlock(OutputFile& output, CameraCalibration const& camera) {
  Verdict const verdict = JudgeBlock(camera);
  output.Write(fmt::format("  PNC block {}: {}\n", Name(KindOf(camera)), verdict.reason));
  if (!verdict.defaultAnswer.empty()) output.Write(fmt::format("    default: {}\n", verdict.defaultAnswer));
  if (auto const& place = camera.places.block) {
    output.Write(fmt::format("    at {} ({:#x}), {} bytes, the last one the valid byte{}\n", place->offset,
                             place->offset, place->length,
                             camera.blockValid ? fmt::format(": {:#04x}", *camera.blockValid) : ""));
  }
  if (!camera.block) return;
  BlockStatistics const statistics = MeasureBlock(*camera.block);
  output.Write(fmt::format("    {} bytes handed out, as 16-bit values (right: 0x2000 is 1):\n", camera.block->size()));
  if (statistics.rows.empty()) {
    output.Write("      less than a row of 130 values\n");
    return;
  }
  output.Write("      row   minimum  maximum      mean   minimum   maximum      mean\n");
  bool const isEven = KindOf(camera) == BlockKind::kDefaultFill;
  for (std::size_t r = 0; r < statistics.rows.size() && !isEven; ++r)
    WriteRow(output, std::to_string(r), statistics.rows[r]);
  WriteRow(output, "all", statistics.all);
}

void WriteTables(OutputFile& output, std::string const& device, std::vector<CameraCalibration> const& cameras) {
  output.Write(fmt::format("Calibration of {}\n\n", device));
  WriteOverview(output, cameras);
  for (CameraCalibration const& camera : cameras) {
    output.Write(fmt::format("\nCamera {} (mask {})  {}\n", camera.sensorIndex, MaskText(camera), FileText(camera)));
    WriteTable(output, camera);
    WriteBlock(output, camera);
    for (std::string const& message : camera.messages) output.Write(fmt::format("  log: {}\n", message));
  }
}

// ---- JSON, from which the CSV takes its values

Json StatisticsJson(RowStatistics const& row) {
  constexpr double kSteps = 1000;  // as many decimals as the CSV has
  return {{"minimum", row.minimum}, {"maximum", row.maximum}, {"mean", std::round(row.mean * kSteps) / kSteps}};
}

Json TableJson(CameraCalibration const& camera) {
  Verdict const verdict = JudgeTable(camera);
  Json json = {{"index", camera.table},     {"sound", verdict.sound},
               {"reason", verdict.reason},  {"default", OrNull(verdict.defaultAnswer)},
               {"settled", camera.settled}, {"record_offset", OrNull(camera.places.recordOffset)},
               {"record", nullptr},         {"valid_byte", nullptr},
               {"gradient", nullptr},       {"flag", nullptr},
               {"flag_f", nullptr},         {"record_parts", Json::array()}};
  for (RecordPart const& part : ExplainRecord(camera)) {
    json["record_parts"].push_back({{"bytes", part.bytes}, {"hex", part.hex}, {"meaning", part.meaning}});
  }
  if (camera.record) {
    DumpFile const& file = camera.file;
    json["record"] = fmt::format("{:02x}", fmt::join(file.record.begin(), file.record.begin() + file.recordBytes, " "));
    json["valid_byte"] = camera.record->valid;
    if (IsValid(camera)) json["gradient"] = camera.record->gradient;
    json["flag"] = camera.record->flag;
    json["flag_f"] = camera.record->furtherFlag;
  }
  return json;
}

Json BlockJson(CameraCalibration const& camera) {
  Verdict const verdict = JudgeBlock(camera);
  auto const& place = camera.places.block;
  Json json = {{"kind", Name(KindOf(camera))},
               {"sound", verdict.sound},
               {"reason", verdict.reason},
               {"default", OrNull(verdict.defaultAnswer)},
               {"offset", place ? Json(place->offset) : nullptr},
               {"length", place ? Json(place->length) : nullptr},
               {"valid_byte", OrNull(camera.blockValid)},
               {"mirrored", camera.mirrored},
               {"default_fill", KindOf(camera) == BlockKind::kDefaultFill},
               {"minimum", nullptr},
               {"maximum", nullptr},
               {"mean", nullptr},
               {"rows", Json::array()},
               {"stored", RowsOf(camera.file.block)},
               {"values", Json::array()}};
  if (!camera.block) return json;
  BlockStatistics const statistics = MeasureBlock(*camera.block);
  if (!statistics.rows.empty()) json.update(StatisticsJson(statistics.all));
  for (RowStatistics const& row : statistics.rows) json["rows"].push_back(StatisticsJson(row));
  json["values"] = RowsOf(*camera.block);
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

// Puts every list of whole numbers, which are rows of a block, on a line of its own.
std::string WithRowsOnLines(std::string const& json) {
  std::string text;
  bool isInText = false;
  for (std::size_t at = 0; at < json.size(); ++at) {
    bool const isEscaped = isInText && json[at] == '\\';
    if (isEscaped) text += json[at++];
    if (json[at] == '"' && !isEscaped) isInText = !isInText;
    std::size_t const end = json.find_first_not_of("0123456789, \n", at + 1);
    bool const isRow = !isInText && json[at] == '[' && end != std::string::npos && json[end] == ']';
    if (!isRow) {
      text += json[at];
      continue;
    }
    std::copy_if(json.begin() + static_cast<std::ptrdiff_t>(at), json.begin() + static_cast<std::ptrdiff_t>(end),
                 std::back_inserter(text), [](char c) { return c != ' ' && c != '\n'; });
    at = end - 1;
  }
  return text;
}

void WriteJson(OutputFile& output, std::string const& device, std::vector<CameraCalibration> const& cameras) {
  Json json = {{"schema", "shadingctl-calibration"},
               {"version", 1},
               {"device", device},
               {"tables", TablesJson()},
               {"cameras", Json::array()}};
  for (CameraCalibration const& camera : cameras) json["cameras"].push_back(CameraJson(camera));
  output.Write(WithRowsOnLines(Dump(json, 2)) + "\n");
}

// ---- CSV

std::string Cell(Json const& value) {
  if (value.is_null()) return {};
  if (value.is_number_float()) return fmt::format("{:.3f}", value.get<double>());
  if (!value.is_string()) return value.dump();
  std::string text = value.get<std::string>();
  if (text.find_first_of(",\"\n") == std::string::npos) return text;
  for (std::size_t at = 0; (at = text.find('"', at)) != std::string::npos; at += 2) text.insert(at, "\"");
  return "\"" + text + "\"";
}

void WriteCsv(OutputFile& output, std::vector<CameraCalibration> const& cameras) {
  constexpr char const* kOfTable[] = {"index",      "default",  "settled", "record_offset", "record",
                                      "valid_byte", "gradient", "flag",    "flag_f",        "reason"};
  constexpr char const* kOfBlock[] = {"kind",         "default", "offset",  "length", "valid_byte", "mirrored",
                                      "default_fill", "minimum", "maximum", "mean",   "reason"};
  std::string head = "camera,mask,file,file_bytes";
  for (char const* const name : kOfTable) head += fmt::format(",table_{}", name);
  for (char const* const name : kOfBlock) head += fmt::format(",block_{}", name);
  for (std::size_t r = 0; r < kBlockRows; ++r) head += fmt::format(",mean_row{}", r);
  output.Write(head + "\n");
  for (CameraCalibration const& camera : cameras) {
    Json const json = CameraJson(camera);
    std::string line = fmt::format("{},{},{},{}", camera.sensorIndex, 1 << camera.sensorIndex, Cell(json["file"]),
                                   Cell(json["file_bytes"]));
    for (char const* const name : kOfTable) line += "," + Cell(json["table"][name]);
    for (char const* const name : kOfBlock) line += "," + Cell(json["block"][name]);
    auto const& rows = json["block"]["rows"];
    for (std::size_t r = 0; r < kBlockRows; ++r) line += "," + (r < rows.size() ? Cell(rows[r]["mean"]) : "");
    output.Write(line + "\n");
  }
}

}  // namespace

void WriteCalibration(Format format, OutputFile& output, std::string const& device,
                      std::vector<CameraCalibration> const& cameras) {
  switch (format) {
    case Format::kTable:
      return WriteTables(output, device, cameras);
    case Format::kCsv:
      return WriteCsv(output, cameras);
    case Format::kJson:
      return WriteJson(output, device, cameras);
  }
}

}  // namespace shadingctl
