#include <fmt/format.h>

#include <utility>

#include "tools/shadingctl/dumps/HallDumpFile.h"
#include "tools/shadingctl/output/Json.h"

namespace shadingctl {
namespace {

Json PositionJson(Position const& position) { return {{"x", position.x}, {"y", position.y}}; }

// The values of every format. NaN and infinities become null in JSON text alone.
Json DumpJson(HallDump const& dump) {
  Json samples = Json::array();
  for (Position const& sample : dump.samples) samples.push_back(PositionJson(sample));
  return {{"file", dump.file},
          {"kind", Name(dump.name.kind)},
          {"camera", dump.name.camera},
          {"frame", dump.name.Frame()},
          {"printed_frame", dump.name.printedFrame},
          {"start_of_frame_us", OrNull(dump.name.startOfFrameUs)},
          {"hall0", PositionJson(dump.hall0)},
          {"hall1", PositionJson(dump.hall1)},
          {"exposure_us", dump.exposureUs},
          {"shutter_us", dump.shutterUs},
          {"samples", std::move(samples)}};
}

struct Column {
  char const* place;  // in the JSON, and by it the column of CSV
  char const* head;   // of the table
  char const* unit;
  int width;  // of the table; 0: not in it
} constexpr kColumns[] = {{"/kind", "kind", "", -7},
                          {"/camera", "camera", "", 6},
                          {"/frame", "frame", "", 10},
                          {"/printed_frame", "printed", "as", 11},
                          {"/start_of_frame_us", "start of frame", "us", 15},
                          {"/samples", "samples", "of span", 7},
                          {"/hall0/x", "hall x", "hall unit", 16},
                          {"/hall0/y", "hall y", "hall unit", 15},
                          {"/hall1/x", "", "", 0},
                          {"/hall1/y", "", "", 0},
                          {"/exposure_us", "exposure", "us", 9},
                          {"/shutter_us", "readout", "us", 9}};

// Positions as they are printed in a dump; of samples their number.
std::string Text(Json const& value, char const* whenNull = "") {
  if (value.is_null()) return whenNull;
  if (value.is_array()) return std::to_string(value.size());
  if (value.is_number_float()) return fmt::format("{:.6f}", value.get<double>());
  return value.is_string() ? value.get<std::string>() : value.dump();
}

template <class CellOf>
std::string TableRow(CellOf const& cellOf) {
  std::string row;
  for (Column const& column : kColumns) {
    if (column.width == 0) continue;
    row += column.width < 0 ? fmt::format("{:<{}} ", cellOf(column), -column.width)
                            : fmt::format("{:>{}} ", cellOf(column), column.width);
  }
  return row.substr(0, row.find_last_not_of(' ') + 1) + "\n";
}

std::string TableRows(Json const& dump, bool withSamples) {
  std::string text =
      TableRow([&](Column const& column) { return Text(dump.at(Json::json_pointer(column.place)), "-"); });
  Json const& hall1 = dump.at("hall1");
  if (hall1.at("x") != 0 || hall1.at("y") != 0) {
    text += fmt::format("        hall 1: {} {}\n", Text(hall1.at("x")), Text(hall1.at("y")));
  }
  std::size_t index = 0;
  for (Json const& sample : dump.at("samples")) {
    if (!withSamples) break;
    text += fmt::format("{:>60}  {:>15} {:>15}\n", index++, Text(sample.at("x")), Text(sample.at("y")));
  }
  return text;
}

std::string CsvHead(bool withSamples) {
  std::vector<std::string> places;
  for (Column const& column : kColumns) places.emplace_back(column.place);
  return CsvNames(places) + (withSamples ? ",samples_x,samples_y\n" : "\n");
}

std::string CsvRow(Json const& dump, bool withSamples) {
  std::string row;
  for (Column const& column : kColumns) {
    row += (row.empty() ? "" : ",") + Text(dump.at(Json::json_pointer(column.place)));
  }
  for (char const* const axis : {"x", "y"}) {
    if (!withSamples) break;
    char separator = ',';
    for (Json const& sample : dump.at("samples")) row += std::exchange(separator, ' ') + Text(sample.at(axis));
  }
  return row + "\n";
}

}  // namespace

void WriteDumps(Format format, OutputFile& output, std::vector<HallDump> const& dumps, bool withSamples) {
  bool const isJson = format == Format::kJson;
  bool const isCsv = format == Format::kCsv;
  output.Write(isJson  ? "{\"schema\": \"shadingctl-dumps\", \"version\": 1,\n\"dumps\": ["
               : isCsv ? CsvHead(withSamples)
                       : TableRow([](Column const& column) { return column.head; }) +
                             TableRow([](Column const& column) { return column.unit; }));
  for (HallDump const& listed : dumps) {
    Json const dump = DumpJson(listed);
    if (isJson) output.Write(&listed == &dumps.front() ? "\n" : ",\n");
    output.Write(isJson ? Dump(dump) : isCsv ? CsvRow(dump, withSamples) : TableRows(dump, withSamples));
  }
  if (isJson) output.Write("\n]}\n");
}

}  // namespace shadingctl
