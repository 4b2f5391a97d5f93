#include <fmt/format.h>

#include "hosting/QuotedText.h"
#include "tools/shadingctl/calibration/CameraCalibration.h"

namespace shadingctl {
namespace {

constexpr double kUnity = 0x2000;  // the value that leaves a pixel as it is

std::string Text(Json const& value) {
  return value.is_null() ? std::string() : hosting::Escaped(value.get_ref<std::string const&>());
}

std::string MaskText(Json const& camera) { return fmt::format("{:#04x}", camera.at("mask").get<int>()); }

std::string FileText(Json const& camera) {
  std::string const name = Text(camera.at("file"));
  if (name.empty()) return Text(camera.at("file_problem"));
  if (camera.at("file_bytes").is_null()) return name + " " + Text(camera.at("file_problem"));
  return fmt::format("{}, {} bytes", name, camera.at("file_bytes").get<std::int64_t>());
}

// "7232 (0x1c40)"
std::string PlaceText(Json const& offset) { return fmt::format("{0} ({0:#x})", offset.get<std::int32_t>()); }

// The defaults that the camera's caller gets, or nothing.
std::string DefaultsText(Json const& camera) {
  std::string const table = Text(camera.at("table").at("default"));
  std::string const block = Text(camera.at("block").at("default"));
  return table + (table.empty() || block.empty() ? "" : "; ") + (block.empty() ? "" : "block: " + block);
}

std::string OverviewRow(Json const& camera) {
  Json const& table = camera.at("table");
  Json const& mean = camera.at("block").at("mean");
  return fmt::format("{:>6}  {:>6}  {:>5}  {:>8}  {:<7}  {:<12}  {:>6}  {}", camera.at("camera").get<int>(),
                     MaskText(camera), table.at("index").get<int>(),
                     table.at("gradient").is_null() ? "-" : fmt::format("{:+}", table.at("gradient").get<int>()),
                     table.at("settled").get<bool>() ? "yes" : "no", Text(camera.at("block").at("kind")),
                     mean.is_null() ? "-" : fmt::format("{:.3f}", mean.get<double>() / kUnity), DefaultsText(camera));
}

std::string TableText(Json const& table) {
  std::string text = fmt::format("  Golden table {}{}: {}\n", table.at("index").get<int>(),
                                 table.at("default").is_null() ? "" : ", the default", Text(table.at("reason")));
  text += table.at("settled").get<bool>() ? "    settled: asked again, it is answered from the cache\n"
                                          : "    not settled: every question looks at the file again\n";
  if (table.at("record").is_null()) return text;
  text += fmt::format("    multi-golden record at {}:\n", PlaceText(table.at("record_offset")));
  for (Json const& part : table.at("record_parts")) {
    std::string const bytes = Text(part.at("bytes"));
    text += fmt::format("      {:<10} {:<12} {}\n", (bytes.size() > 2 ? "bytes " : "byte ") + bytes,
                        Text(part.at("hex")), Text(part.at("meaning")));
  }
  if (!table.at("gradient").is_null()) {
    text += fmt::format("      signed gradient {:+}, flag {}\n", table.at("gradient").get<int>(),
                        table.at("flag").get<int>());
  }
  return text;
}

std::string StatisticsRow(std::string const& name, Json const& row) {
  auto const minimum = row.at("minimum").get<unsigned int>();
  auto const maximum = row.at("maximum").get<unsigned int>();
  auto const mean = row.at("mean").get<double>();
  return fmt::format("      {:<4} {:>8} {:>8} {:>9.1f} {:>9.3f} {:>9.3f} {:>9.3f}\n", name, minimum, maximum, mean,
                     minimum / kUnity, maximum / kUnity, mean / kUnity);
}

std::string BlockText(Json const& block) {
  std::string text = fmt::format("  PNC block {}: {}\n", Text(block.at("kind")), Text(block.at("reason")));
  if (!block.at("default").is_null()) text += fmt::format("    default: {}\n", Text(block.at("default")));
  if (!block.at("offset").is_null()) {
    Json const& valid = block.at("valid_byte");
    text += fmt::format("    at {}, {} bytes, the last one the valid byte{}\n", PlaceText(block.at("offset")),
                        block.at("length").get<std::int32_t>(),
                        valid.is_null() ? "" : fmt::format(": {:#04x}", valid.get<unsigned int>()));
  }
  std::string const kind = Text(block.at("kind"));
  if (kind == kUntouched || kind == kNotAsked) return text;
  text += fmt::format("    {} bytes handed out, as 16-bit values (right: 0x2000 is 1):\n",
                      block.at("length").get<std::int32_t>() - 1);
  if (block.at("rows").empty()) return text + "      less than a row of 130 values\n";
  text += "      row   minimum  maximum      mean   minimum   maximum      mean\n";
  bool const isEven = block.at("default_fill").get<bool>();
  for (std::size_t r = 0; r < block.at("rows").size() && !isEven; ++r) {
    text += StatisticsRow(std::to_string(r), block.at("rows")[r]);
  }
  return text + StatisticsRow("all", block);
}

}  // namespace

std::string CalibrationText(Json const& document) {
  std::string text = fmt::format("Calibration of {}\n\n", Text(document.at("device")));
  text += "camera    mask  table  gradient  settled  PNC block       mean  default in use\n";
  for (Json const& camera : document.at("cameras")) {
    std::string const row = OverviewRow(camera);
    text += row.substr(0, row.find_last_not_of(' ') + 1) + "\n";
  }
  text +=
      "\nmean: of the block's values, 0x2000 (8192) being 1. settled: asked again, the library answers the table\n"
      "from its cache and looks at nothing. Where a default is in use, the reason stands below.\n";
  for (Json const& camera : document.at("cameras")) {
    text +=
        fmt::format("\nCamera {} (mask {})  {}\n", camera.at("camera").get<int>(), MaskText(camera), FileText(camera));
    text += TableText(camera.at("table")) + BlockText(camera.at("block"));
    for (Json const& message : camera.at("messages")) text += fmt::format("  log: {}\n", Text(message));
  }
  return text;
}

std::string CalibrationCsv(Json const& document) {
  Json rows = document.at("cameras");
  for (Json& row : rows) {
    Json const rowsOfBlock = row.at("block").at("rows");
    for (std::size_t r = 0; r < kBlockRows; ++r) {
      row[fmt::format("mean_row{}", r)] = r < rowsOfBlock.size() ? rowsOfBlock[r].at("mean") : Json();
    }
  }
  return CsvText(rows);
}

}  // namespace shadingctl
