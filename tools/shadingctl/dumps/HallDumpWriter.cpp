#include "tools/shadingctl/dumps/HallDumpWriter.h"

#include <fmt/format.h>

#include "tools/shadingctl/output/Json.h"

namespace shadingctl {
namespace {

// ---- Table

void WriteTable(OutputFile& output, std::vector<NamedDump> const& dumps, bool withSamples) {
  constexpr char const* kColumns = "{:<7} {:>6} {:>10} {:>11} {:>15} {:>7}  {:>15} {:>15} {:>9} {:>9}";
  auto const write = [&](auto const&... cells) {
    std::string row = fmt::format(kColumns, cells...);
    row.erase(row.find_last_not_of(' ') + 1);
    output.Write(row + "\n");
  };
  write("kind", "camera", "frame", "printed", "start of frame", "samples", "hall x", "hall y", "exposure", "readout");
  write("", "", "", "as", "us", "of span", "hall unit", "hall unit", "us", "us");
  for (NamedDump const& named : dumps) {
    HallDump const& dump = named.dump;
    std::string const start = dump.name.startOfFrameUs ? std::to_string(*dump.name.startOfFrameUs) : "-";
    write(Name(dump.name.kind), dump.name.camera, dump.name.Frame(), dump.name.printedFrame, start, dump.samples.size(),
          fmt::format("{:.6f}", dump.hall0.x), fmt::format("{:.6f}", dump.hall0.y), dump.exposureUs, dump.shutterUs);
    if (dump.hall1.x != 0 || dump.hall1.y != 0) {
      output.Write(fmt::format("        hall 1: {:.6f} {:.6f}\n", dump.hall1.x, dump.hall1.y));
    }
    for (std::size_t i = 0; withSamples && i < dump.samples.size(); ++i) {
      output.Write(fmt::format("{:>60}  {:>15.6f} {:>15.6f}\n", i, dump.samples[i].x, dump.samples[i].y));
    }
  }
}

// ---- CSV

std::string Column(std::vector<Position> const& samples, double Position::*axis) {
  std::string text;
  for (Position const& sample : samples) text += (text.empty() ? "" : " ") + fmt::format("{:.6f}", sample.*axis);
  return text;
}

void WriteCsv(OutputFile& output, std::vector<NamedDump> const& dumps, bool withSamples) {
  output.Write(
      fmt::format("kind,camera,frame,printed_frame,start_of_frame_us,samples,hall0_x,hall0_y,hall1_x,hall1_y,"
                  "exposure_us,shutter_us{}\n",
                  withSamples ? ",samples_x,samples_y" : ""));
  for (NamedDump const& named : dumps) {
    HallDump const& dump = named.dump;
    std::string const start = dump.name.startOfFrameUs ? std::to_string(*dump.name.startOfFrameUs) : "";
    output.Write(fmt::format("{},{},{},{},{},{},{:.6f},{:.6f},{:.6f},{:.6f},{},{}", Name(dump.name.kind),
                             dump.name.camera, dump.name.Frame(), dump.name.printedFrame, start, dump.samples.size(),
                             dump.hall0.x, dump.hall0.y, dump.hall1.x, dump.hall1.y, dump.exposureUs, dump.shutterUs));
    if (withSamples) {
      output.Write("," + Column(dump.samples, &Position::x) + "," + Column(dump.samples, &Position::y));
    }
    output.Write("\n");
  }
}

// ---- JSON

Json PositionJson(Position const& position) { return {{"x", position.x}, {"y", position.y}}; }

// A line for every frame. NaN and infinities become null.
void WriteJson(OutputFile& output, std::vector<NamedDump> const& dumps) {
  output.Write("{\"schema\": \"shadingctl-dumps\", \"version\": 1,\n\"dumps\": [");
  for (NamedDump const& named : dumps) {
    HallDump const& dump = named.dump;
    Json json = {{"file", named.file},
                 {"kind", Name(dump.name.kind)},
                 {"camera", dump.name.camera},
                 {"frame", dump.name.Frame()},
                 {"printed_frame", dump.name.printedFrame},
                 {"start_of_frame_us", nullptr},
                 {"hall0", PositionJson(dump.hall0)},
                 {"hall1", PositionJson(dump.hall1)},
                 {"exposure_us", dump.exposureUs},
                 {"shutter_us", dump.shutterUs},
                 {"samples", Json::array()}};
    if (dump.name.startOfFrameUs) json["start_of_frame_us"] = *dump.name.startOfFrameUs;
    for (Position const& sample : dump.samples) json["samples"].push_back(PositionJson(sample));
    output.Write((&named == &dumps.front() ? "\n" : ",\n") + Dump(json));
  }
  output.Write("\n]}\n");
}

}  // namespace

void WriteDumps(Format format, OutputFile& output, std::vector<NamedDump> const& dumps, bool withSamples) {
  switch (format) {
    case Format::kTable:
      return WriteTable(output, dumps, withSamples);
    case Format::kCsv:
      return WriteCsv(output, dumps, withSamples);
    case Format::kJson:
      return WriteJson(output, dumps);
  }
}

}  // namespace shadingctl
