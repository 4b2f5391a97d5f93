// A recording of version 1: DIRECTORY/frames.csv and DIRECTORY/hall.csv, described in docs/recording-format.md.
#pragma once

#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "hosting/CsvFile.h"
#include "hosting/Session.h"

namespace hosting {

// Answers the calls of a host with one camera: its monitor is started, every frame is updated and then computed, the
// readout time is stored whenever it changes, and in the end the monitor is stopped. Reads both files side by side;
// holds one frame's samples at a time.
class FrameRecording : public Session {
 public:
  // Throws UnusableInput when either file cannot be read or lacks a column.
  explicit FrameRecording(std::string directory);

  std::string Name() const override { return mDirectory; }
  Settings const& settings() const override { return mSettings; }
  bool Next(Call& call) override;
  Oddities const& oddities() const override { return mOddities; }
  std::optional<std::uint64_t> FrameCount() const override;

 private:
  struct FrameRow {
    std::uint32_t number = 0;
    ExposurePair exposure;
    std::uint32_t rollingShutterNs = 0;
  };
  struct HallRow {
    std::uint32_t frame = 0;
    NSCam::Utils::SensorData sample;
  };

  void QueueCalls();                       // of the next frame, or those at the end
  std::optional<FrameRow> ReadFrameRow();  // nullopt at the end of the file
  std::vector<NSCam::Utils::SensorData> ReadBatch(std::uint32_t frame);
  void ReadHallRow();  // into mHallRow; empty at the end of the file

  std::string mDirectory;
  CsvFile mFrameFile;
  CsvFile mHallFile;
  Settings mSettings;       // nothing is known
  std::deque<Call> mCalls;  // read and not handed out yet
  bool mStopped = false;
  std::optional<FrameRow> mLastFrame;
  std::optional<HallRow> mHallRow;  // the first one that is not delivered yet
  Oddities mOddities;
};

}  // namespace hosting
