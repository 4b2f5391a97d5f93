// A recording of version 2: DIRECTORY/recording.csv, calls.csv and hall.csv, described in docs/recording-format.md.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "recording/CsvFile.h"
#include "recording/Session.h"

namespace recording {

// Reads calls and samples side by side; holds one batch at a time.
class CallRecording : public Session {
 public:
  // `settings` are those of the recording. Throws UnusableInput when a file cannot be read or lacks a column.
  CallRecording(std::string directory, SessionSettings settings);

  std::string Name() const override { return mDirectory; }
  SessionSettings const& Settings() const override { return mSettings; }
  bool Next(Call& call) override;
  SessionOddities const& Oddities() const override { return mOddities; }
  std::optional<std::uint64_t> FrameCount() const override;

 private:
  struct SampleRow {
    std::uint64_t call = 0;
    NSCam::Utils::SensorData sample;
  };
  // Of a camera, so far.
  struct Times {
    std::optional<std::uint64_t> frameNs;
    std::optional<std::int64_t> sampleNs;
  };

  std::uint64_t ReadCallNumber();
  StartMonitor ReadStart(StartMonitor::Operation operation) const;
  StopMonitor ReadStop() const;
  StoreRollingShutter ReadStore() const;
  UpdateSensorData ReadUpdate(std::uint64_t number, Times& times);
  CalcOisValue ReadCalc() const;
  ExposurePair ReadPair(std::size_t timestampColumn, std::size_t exposureColumn) const;

  // Reads hall.csv up to and including the samples of call `number`; they are its batch when it is an update.
  void PassSamplesBefore(std::uint64_t number);
  void ReadBatch(std::uint64_t number, Times& times, std::vector<NSCam::Utils::SensorData>& batch);
  void ReadSampleRow();  // into mSampleRow; empty at the end of the file

  std::string mDirectory;
  SessionSettings mSettings;
  CsvFile mCallFile;
  CsvFile mSampleFile;
  std::uint64_t mLastCall = 0;                          // its number; 0 before the first
  std::optional<SampleRow> mSampleRow;                  // the first one that is not delivered yet
  std::map<std::optional<std::int32_t>, Times> mTimes;  // by camera
  SessionOddities mOddities;
};

}  // namespace recording
