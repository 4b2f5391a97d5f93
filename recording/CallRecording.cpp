#include "recording/CallRecording.h"

#include <fmt/format.h>

#include <filesystem>
#include <fstream>
#include <utility>

#include "recording/CallColumns.h"

namespace recording {

CallRecording::CallRecording(std::string directory, SessionSettings settings)
    : mDirectory(std::move(directory)),
      mSettings(std::move(settings)),
      mCallFile(mDirectory + "/calls.csv", kCallColumns, CsvFile::LastLine::kMustEnd),
      mSampleFile(mDirectory + "/hall.csv", kCallSampleColumns, CsvFile::LastLine::kMustEnd) {
  mSettings.recordsCalls = true;
  ReadSampleRow();
}

bool CallRecording::Next(Call& call) {
  if (!mCallFile.Next()) {
    for (; mSampleRow; ReadSampleRow()) mOddities.undeliveredSamples.CountAt(mSampleFile);
    return false;
  }
  std::uint64_t const number = ReadCallNumber();
  PassSamplesBefore(number);
  call.timeNs.reset();
  if (mCallFile.Has(kCallTime)) call.timeNs = mCallFile.Unsigned64(kCallTime);
  call.camera.reset();
  if (mCallFile.Has(kCallCamera)) call.camera = mCallFile.Signed32(kCallCamera);

  std::string_view const kind = mCallFile.Text(kCallKind);
  if (kind == kUpdateKind) {
    call.operation = ReadUpdate(number, mTimes[call.camera]);
    return true;
  }
  if (mSampleRow && mSampleRow->call == number) {
    mSampleFile.Complain(kSampleCall, fmt::format("the number of an update, call {} is none", number));
  }
  if (kind == kCalculateKind) {
    call.operation = ReadCalc();
  } else if (kind == kReadoutKind) {
    call.operation = ReadStore();
  } else if (kind == kRegisterKind) {
    call.operation = ReadStart(StartMonitor::Operation::kRegister);
  } else if (kind == kStartKind) {
    call.operation = ReadStart(StartMonitor::Operation::kStart);
  } else if (kind == kRegisterAndStartKind) {
    call.operation = ReadStart(StartMonitor::Operation::kRegisterAndStart);
  } else if (kind == kStopKind) {
    call.operation = ReadStop();
  } else {
    mCallFile.Complain(
        kCallKind, fmt::format("one of {}, {}, {}, {}, {}, {} and {}", kRegisterKind, kStartKind, kRegisterAndStartKind,
                               kStopKind, kReadoutKind, kUpdateKind, kCalculateKind));
  }
  return true;
}

std::uint64_t CallRecording::ReadCallNumber() {
  std::uint64_t const number = mCallFile.Unsigned64(kCallNumber);
  if (number <= mLastCall) {
    mCallFile.Complain(kCallNumber, mLastCall == 0 ? "a number from 1 on"
                                                   : fmt::format("a number above {}, the call before", mLastCall));
  }
  std::uint64_t const lost = number - mLastCall - 1;
  if (lost > 0) mOddities.lostCalls.CountAt(mCallFile, lost);
  return mLastCall = number;
}

StartMonitor CallRecording::ReadStart(StartMonitor::Operation operation) const {
  StartMonitor start;
  start.operation = operation;
  if (mCallFile.Has(kCallSensorType)) start.sensorType = mCallFile.Signed32(kCallSensorType);
  if (mCallFile.Has(kCallAnswer)) start.answer = mCallFile.Flag(kCallAnswer);
  return start;
}

StopMonitor CallRecording::ReadStop() const {
  StopMonitor stop;
  if (mCallFile.Has(kCallSensorType)) stop.sensorType = mCallFile.Signed32(kCallSensorType);
  return stop;
}

StoreRollingShutter CallRecording::ReadStore() const {
  StoreRollingShutter store;
  if (mCallFile.Has(kCallSensorMode)) store.sensorMode = mCallFile.Unsigned32(kCallSensorMode);
  store.rollingShutterNs = mCallFile.Unsigned32(kCallRollingShutter);
  return store;
}

UpdateSensorData CallRecording::ReadUpdate(std::uint64_t number, Times& times) {
  UpdateSensorData update;
  update.frame = mCallFile.Unsigned32(kCallFrame);
  update.timestampNs = mCallFile.Unsigned64(kCallTimestamp);
  if (times.frameNs && update.timestampNs < *times.frameNs) mOddities.frameTimesBackward.CountAt(mCallFile);
  times.frameNs = update.timestampNs;

  ReadBatch(number, times, update.batch);
  if (update.batch.empty()) mOddities.emptyBatches.CountAt(mCallFile);
  if (!mCallFile.Has(kCallSamples)) return update;
  std::uint64_t const samples = mCallFile.Unsigned64(kCallSamples);
  if (samples < update.batch.size()) {
    mCallFile.Complain(kCallSamples, fmt::format("at least {}, the samples of this call in {}/hall.csv",
                                                 update.batch.size(), mDirectory));
  }
  std::uint64_t const lost = samples - update.batch.size();
  if (lost > 0) mOddities.lostSamples.CountAt(mCallFile, lost);
  return update;
}

CalcOisValue CallRecording::ReadCalc() const {
  CalcOisValue calc;
  calc.frame = mCallFile.Unsigned32(kCallFrame);
  if (mCallFile.Has(kCallType)) calc.type = mCallFile.Signed32(kCallType);
  calc.pairs.fill(ReadPair(kCallTimestamp, kCallExposure));
  if (mCallFile.Has(kCallTimestamp1) || mCallFile.Has(kCallExposure1)) {
    calc.pairs[1] = ReadPair(kCallTimestamp1, kCallExposure1);
  }
  if (mCallFile.Has(kCallTimestamp2) || mCallFile.Has(kCallExposure2)) {
    calc.pairs[2] = ReadPair(kCallTimestamp2, kCallExposure2);
  }
  if (mCallFile.Has(kCallMatched)) calc.matched = mCallFile.Flag(kCallMatched);
  if (!mCallFile.Has(kCallAnswer)) return calc;
  CalcOisValue::Answer& answer = calc.answer.emplace();
  answer.matched = mCallFile.Flag(kCallAnswer);
  if (mCallFile.Has(kCallHallX)) answer.hallX = mCallFile.Finite(kCallHallX);
  if (mCallFile.Has(kCallHallY)) answer.hallY = mCallFile.Finite(kCallHallY);
  return calc;
}

ExposurePair CallRecording::ReadPair(std::size_t timestampColumn, std::size_t exposureColumn) const {
  return {mCallFile.Unsigned64(timestampColumn), mCallFile.Unsigned64(exposureColumn)};
}

void CallRecording::PassSamplesBefore(std::uint64_t number) {
  for (; mSampleRow && mSampleRow->call < number; ReadSampleRow()) mOddities.undeliveredSamples.CountAt(mSampleFile);
}

void CallRecording::ReadBatch(std::uint64_t number, Times& times, std::vector<NSCam::Utils::SensorData>& batch) {
  for (; mSampleRow && mSampleRow->call == number; ReadSampleRow()) {
    auto const& sample = mSampleRow->sample;
    if (times.sampleNs && sample.timestamp < *times.sampleNs) mOddities.sampleTimesBackward.CountAt(mSampleFile);
    times.sampleNs = sample.timestamp;
    batch.push_back(sample);
  }
}

void CallRecording::ReadSampleRow() {
  std::uint64_t const before = mSampleRow ? mSampleRow->call : 0;
  mSampleRow.reset();
  if (!mSampleFile.Next()) return;
  SampleRow row;
  row.call = mSampleFile.Unsigned64(kSampleCall);
  row.sample.timestamp = mSampleFile.Signed64(kSampleTimestamp);
  row.sample.oisHallX = mSampleFile.Finite(kSampleHallX);
  row.sample.oisHallY = mSampleFile.Finite(kSampleHallY);
  if (row.call < before) {
    mSampleFile.Complain(kSampleCall, fmt::format("at least {}, the call of the row before", before));
  }
  mSampleRow = row;
}

std::optional<std::uint64_t> CallRecording::FrameCount() const {
  std::string const path = mDirectory + "/calls.csv";
  std::error_code error;
  if (!std::filesystem::is_regular_file(path, error)) return std::nullopt;  // a pipe can be read only once
  std::ifstream file(path, std::ios::binary);
  std::uint64_t count = 0;
  for (std::string line; std::getline(file, line);) {
    if (line.find(kCalculateKind) != std::string::npos) ++count;
  }
  return count;
}

}  // namespace recording
