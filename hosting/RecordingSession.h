// A recording on disk: DIRECTORY/frames.csv and DIRECTORY/hall.csv, described in docs/recording-format.md.
#pragma once

#include <optional>
#include <string>

#include "hosting/CsvFile.h"
#include "hosting/Session.h"

namespace hosting {

// Reads both files side by side; holds one frame's samples at a time.
class RecordingSession : public Session {
 public:
  // Throws UnusableInput when either file cannot be read or lacks a column.
  explicit RecordingSession(std::string directory);

  std::string Name() const override { return mDirectory; }
  bool Next(Delivery& delivery) override;
  Oddities const& oddities() const override { return mOddities; }
  std::optional<std::uint64_t> FrameCount() const override;

 private:
  struct HallRow {
    std::uint32_t frame = 0;
    NSCam::Utils::SensorData sample;
  };

  bool ReadFrame(Frame& frame);
  void ReadHallRow();  // into mHallRow; empty at the end of the file

  std::string mDirectory;
  CsvFile mFrameFile;
  CsvFile mHallFile;
  std::optional<Frame> mLastFrame;
  std::optional<HallRow> mHallRow;  // the first one that is not delivered yet
  Oddities mOddities;
};

}  // namespace hosting
