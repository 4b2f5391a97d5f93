// A recording of version 1: DIRECTORY/frames.csv and DIRECTORY/hall.csv, described in docs/recording-format.md.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "recording/CsvFile.h"
#include "recording/FrameSession.h"

namespace recording {

// Reads both files side by side.
class FrameRecording : public FrameSession {
 public:
  // Throws UnusableInput when either file cannot be read or lacks a column.
  explicit FrameRecording(std::string directory);

  std::string Name() const override { return mDirectory; }
  std::optional<std::uint64_t> FrameCount() const override;

 private:
  struct LastFrame {
    std::uint32_t number = 0;
    std::uint64_t timestampNs = 0;
  };
  struct HallRow {
    std::uint32_t frame = 0;
    NSCam::Utils::SensorData sample;
  };

  std::optional<SessionFrame> ReadFrame() override;
  std::optional<SessionFrame> ReadFrameRow();  // without its batch; nullopt at the end of the file
  std::vector<NSCam::Utils::SensorData> ReadBatch(std::uint32_t frame);
  void ReadHallRow();  // into mHallRow; empty at the end of the file

  std::string mDirectory;
  CsvFile mFrameFile;
  CsvFile mHallFile;
  std::optional<LastFrame> mLastFrame;
  std::optional<HallRow> mHallRow;  // the first one that is not delivered yet
};

}  // namespace recording
