#include "tools/shadingctl/result/RowCsv.h"

#include <fmt/format.h>

#include <optional>

namespace shadingctl {
namespace {

std::string TextOrEmpty(std::optional<double> const& number, std::string (*text)(double)) {
  return number ? text(*number) : std::string();
}

}  // namespace

std::string CsvHeader() {
  return "frame,timestamp_ns,type,match,samples,start_index,end_index,offset_us,start_distance_us,span_age_us,"
         "hall_x,hall_y,message,camera,end,end_distance_us,coverage,repeated_samples,readout_distance\n";
}

std::string CsvRow(FrameResult const& row) {
  return fmt::format("{},{},{},{},{},{},{},{},{},{},{},{},{},{},{},{},{},{},{}\n", row.frame, row.timestampNs, row.type,
                     Name(row.match), OrEmpty(row.samples), OrEmpty(row.startIndex), OrEmpty(row.endIndex),
                     OrEmpty(row.offsetUs), OrEmpty(row.startDistanceUs), OrEmpty(row.spanAgeUs),
                     TextOrEmpty(row.hallX, PositionText), TextOrEmpty(row.hallY, PositionText), row.message,
                     row.camera, row.end ? Name(*row.end) : "", OrEmpty(row.endDistanceUs),
                     TextOrEmpty(row.coverage, ShareText), OrEmpty(row.repeatedSamples),
                     TextOrEmpty(row.readoutDistance, DistanceText));
}

}  // namespace shadingctl
