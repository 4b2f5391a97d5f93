#include <fmt/format.h>

#include <nlohmann/json.hpp>

#include "tools/shadingctl/dumps/HallDumpFolder.h"

namespace shadingctl {
namespace {

using Json = nlohmann::ordered_json;

Json PositionJson(Position const& position) { return {{"x", position.x}, {"y", position.y}}; }

// The values of every format. NaN and infinities become null in JSON text alone.
Json DumpJson(NamedDump const& named) {
  HallDump const& dump = named.dump;
  Json samples = Json::array();
  for (Position const& sample : dump.samples) samples.push_back(PositionJson(sample));
  auto const& startUs = dump.name.startOfFrameUs;
  return {{"file", named.file},
          {"kind", Name(dump.name.kind)},
          {"camera", dump.name.camera},
          {"frame", dump.name.Frame()},
          {"printed_frame", dump.name.printedFrame},
          {"start_of_frame_us", startUs ? Json(*startUs) : Json(nullptr)},
          {"hall0", PositionJson(dump.hall0)},
          {"hall1", PositionJson(dump.hall1)},
          {"exposure_us", dump.exposureUs},
          {"shutter_us", dump.shutterUs},
          {"samples", std::move(samples)}};
}

// Positions as they are printed in a dump.
std::string Text(Json const& value, char const* whenNull) {
  if (value.is_null()) return whenNull;
  if (value.is_number_float()) return fmt::format("{:.6f}", value.get<double>());
  return value.is_string() ? value.get<std::string>() : value.dump();
}

// ---- Table

constexpr char const* kColumns = "{:<7} {:>6} {:>10} {:>11} {:>15} {:>7}  {:>15} {:>15} {:>9} {:>9}";

template <class... Cells>
std::string Row(Cells const&... cells) {
  std::string row = fmt::format(kColumns, cells...);
  row.erase(row.find_last_not_of(' ') + 1);
  return row + "\n";
}

std::string TableHead() {
  return Row("kind", "camera", "frame", "printed", "start of frame", "samples", "hall x", "hall y", "exposure",
             "readout") +
         Row("", "", "", "as", "us", "of span", "hall unit", "hall unit", "us", "us");
}

std::string TableRows(Json const& dump, bool withSamples) {
  auto const cell = [&](char const* key) { return Text(dump.at(key), "-"); };
  auto const at = [](Json const& position, char const* axis) { return Text(position.at(axis), "-"); };
  Json const& hall0 = dump.at("hall0");
  Json const& hall1 = dump.at("hall1");
  Json const& samples = dump.at("samples");
  std::string text = Row(cell("kind"), cell("camera"), cell("frame"), cell("printed_frame"), cell("start_of_frame_us"),
                         samples.size(), at(hall0, "x"), at(hall0, "y"), cell("exposure_us"), cell("shutter_us"));
  if (hall1.at("x") != 0 || hall1.at("y") != 0) {
    text += fmt::format("        hall 1: {} {}\n", at(hall1, "x"), at(hall1, "y"));
  }
  for (std::size_t i = 0; withSamples && i < samples.size(); ++i) {
    text += fmt::format("{:>60}  {:>15} {:>15}\n", i, at(samples[i], "x"), at(samples[i], "y"));
  }
  return text;
}

// ---- CSV

std::string CsvHead(bool withSamples) {
  return fmt::format(
      "kind,camera,frame,printed_frame,start_of_frame_us,samples,hall0_x,hall0_y,hall1_x,hall1_y,exposure_us,shutter_us"
      "{}\n",
      withSamples ? ",samples_x,samples_y" : "");
}

std::string CsvRow(Json const& dump, bool withSamples) {
  std::string row;
  for (char const* const key : {"kind", "camera", "frame", "printed_frame", "start_of_frame_us"}) {
    row += Text(dump.at(key), "") + ",";
  }
  row += std::to_string(dump.at("samples").size());
  for (char const* const hall : {"hall0", "hall1"}) {
    for (char const* const axis : {"x", "y"}) row += "," + Text(dump.at(hall).at(axis), "");
  }
  for (char const* const key : {"exposure_us", "shutter_us"}) row += "," + Text(dump.at(key), "");
  for (char const* const axis : {"x", "y"}) {
    if (!withSamples) break;
    char separator = ',';
    for (Json const& sample : dump.at("samples")) {
      row += separator + Text(sample.at(axis), "");
      separator = ' ';
    }
  }
  return row + "\n";
}

}  // namespace

void WriteDumps(Format format, OutputFile& output, std::vector<NamedDump> const& dumps, bool withSamples) {
  bool const isJson = format == Format::kJson;
  output.Write(isJson                   ? "{\"schema\": \"shadingctl-dumps\", \"version\": 1,\n\"dumps\": ["
               : format == Format::kCsv ? CsvHead(withSamples)
                                        : TableHead());
  for (NamedDump const& named : dumps) {
    Json const dump = DumpJson(named);
    if (isJson) output.Write(&named == &dumps.front() ? "\n" : ",\n");
    output.Write(isJson                   ? dump.dump(-1, ' ', false, Json::error_handler_t::replace)
                 : format == Format::kCsv ? CsvRow(dump, withSamples)
                                          : TableRows(dump, withSamples));
  }
  if (isJson) output.Write("\n]}\n");
}

}  // namespace shadingctl
