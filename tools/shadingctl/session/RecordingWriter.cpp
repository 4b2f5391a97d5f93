#include "tools/shadingctl/session/RecordingWriter.h"

#include <fmt/format.h>

#include <filesystem>
#include <iterator>
#include <system_error>

#include "hosting/UnusableInput.h"
#include "tools/shadingctl/output/OutputFile.h"

namespace shadingctl {

RecordingSize WriteRecording(hosting::Session& session, std::string const& directory, bool overwrite) {
  std::error_code error;
  std::filesystem::create_directories(directory, error);
  if (error) throw hosting::UnusableInput(fmt::format("{}: cannot be made: {}", directory, error.message()));

  std::string const framePath = directory + "/frames.csv";
  std::string const hallPath = directory + "/hall.csv";
  for (std::string const& path : {framePath, hallPath}) {
    if (!overwrite && std::filesystem::exists(path, error)) {
      throw hosting::UnusableInput(fmt::format("{}: is there already; --force writes it anew", path));
    }
  }

  OutputFile frameFile(framePath);
  OutputFile hallFile(hallPath);
  frameFile.Write("frame,timestamp_ns,exposure_ns,rolling_shutter_ns\n");
  hallFile.Write("frame,timestamp_ns,hall_x,hall_y\n");
  RecordingSize size;
  std::string rows;
  for (hosting::Delivery delivery; session.Next(delivery);) {
    hosting::Frame const& frame = delivery.frame;
    frameFile.Write(
        fmt::format("{},{},{},{}\n", frame.number, frame.timestampNs, frame.exposureNs, frame.rollingShutterNs));
    rows.clear();
    for (auto const& sample : delivery.samples) {
      fmt::format_to(std::back_inserter(rows), "{},{},{:.6f},{:.6f}\n", frame.number, sample.timestamp, sample.oisHallX,
                     sample.oisHallY);
    }
    hallFile.Write(rows);
    ++size.frames;
    size.samples += delivery.samples.size();
  }
  frameFile.Finish();
  hallFile.Finish();
  return size;
}

}  // namespace shadingctl
