// A recording of version 2: DIRECTORY/recording.csv, calls.csv and hall.csv, described in docs/recording-format.md.
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <map>
#include <utility>

#include "recording/Recording.h"
#include "recording/RecordingColumns.h"

namespace recording {
namespace {

// Only number and kind must be there.
std::vector<CsvFile::Column> CallColumns() {
  std::vector<CsvFile::Column> columns;
  for (std::size_t i = 0; i < kCallColumns.size(); ++i) {
    columns.push_back({kCallColumns[i], i == kCallNumber || i == kCallKind});
  }
  return columns;
}

// Reads calls and samples side by side; holds one batch at a time.
class CallRecording : public Session {
 public:
  CallRecording(std::string const& directory, SessionSettings const& settings, Capture const& capture)
      : Session(directory),
        mCapture(capture),
        mFile(directory + "/calls.csv", CallColumns(), {LastLine::kMustEnd}),
        mHallFile(directory, "call", LastLine::kMustEnd) {
    mSettings = settings;
    mSettings.recordsCalls = true;
    mOddities.captureState = capture.state;
  }

  std::optional<std::uint64_t> FrameCount() const override {
    return CountLines(mName + "/calls.csv", kCallKinds[kCalculate]);
  }

  bool Next(Call& call) override {
    if (!mFile.Next()) {
      for (; mHallFile.Row(); mHallFile.Next()) mOddities.undeliveredSamples.CountAt(mHallFile.File());
      mOddities.lostCalls.RaiseTo(mCapture.lostCalls, mName + "/recording.csv");
      mOddities.lostSamples.RaiseTo(mCapture.lostSamples, mName + "/recording.csv");
      return false;
    }
    ReadCallNumber();
    for (; mHallFile.Row() && mHallFile.Row()->owner < mNumber; mHallFile.Next()) {
      mOddities.undeliveredSamples.CountAt(mHallFile.File());
    }
    call.timeNs = mFile.IfAny<std::uint64_t>(kCallTime);
    call.camera = mFile.IfAny<std::int32_t>(kCallCamera);

    std::optional<std::size_t> const kind = IndexOf(kCallKinds, mFile.Text(kCallKind));
    bool const hasSamples = mHallFile.Row() && mHallFile.Row()->owner == mNumber;
    if (hasSamples && kind != kUpdate) {
      mHallFile.File().Complain(kSampleOwner, fmt::format("the number of an update, call {} is none", mNumber));
    }
    if (kind == kUpdate) {
      call.operation = ReadUpdate(mTimes[call.camera]);
    } else if (kind == kCalculate) {
      call.operation = ReadCalc();
    } else if (kind == kReadout) {
      call.operation = StoreRollingShutter{mFile.IfAny<std::uint32_t>(kCallSensorMode).value_or(0),
                                           mFile.Get<std::uint32_t>(kCallRollingShutter)};
    } else if (kind == kStop) {
      call.operation = StopMonitor{mFile.IfAny<std::int32_t>(kCallSensorType)};
    } else if (kind) {
      call.operation = StartMonitor{static_cast<StartMonitor::Operation>(*kind),
                                    mFile.IfAny<std::int32_t>(kCallSensorType), mFile.IfAny<bool>(kCallAnswer)};
    } else {
      auto const* const last = kCallKinds.end() - 1;
      mFile.Complain(kCallKind, fmt::format("one of {} and {}", fmt::join(kCallKinds.begin(), last, ", "), *last));
    }
    return true;
  }

 private:
  // Of a camera, so far.
  struct Times {
    std::optional<std::uint64_t> frameNs;
    std::optional<std::int64_t> sampleNs;
  };

  void ReadCallNumber() {
    std::uint64_t const number = mFile.Get<std::uint64_t>(kCallNumber);
    if (number <= mNumber) {
      mFile.Complain(kCallNumber,
                     mNumber == 0 ? "a number from 1 on" : fmt::format("a number above {}, the call before", mNumber));
    }
    std::uint64_t const lost = number - mNumber - 1;
    if (lost > 0) mOddities.lostCalls.CountAt(mFile, lost);
    mNumber = number;
  }

  UpdateSensorData ReadUpdate(Times& times) {
    UpdateSensorData update;
    update.frame = mFile.Get<std::uint32_t>(kCallFrame);
    update.timestampNs = mFile.Get<std::uint64_t>(kCallTimestamp);
    if (times.frameNs && update.timestampNs < *times.frameNs) mOddities.frameTimesBackward.CountAt(mFile);
    times.frameNs = update.timestampNs;
    for (; mHallFile.Row() && mHallFile.Row()->owner == mNumber; mHallFile.Next()) {
      auto const& sample = mHallFile.Row()->sample;
      if (times.sampleNs && sample.timestamp < *times.sampleNs) mOddities.sampleTimesBackward.CountAt(mHallFile.File());
      times.sampleNs = sample.timestamp;
      update.batch.push_back(sample);
    }
    if (update.batch.empty()) mOddities.emptyBatches.CountAt(mFile);
    std::uint64_t const held = update.batch.size();
    std::uint64_t const samples = mFile.IfAny<std::uint64_t>(kCallSamples).value_or(held);
    if (samples < held) {
      mFile.Complain(kCallSamples, fmt::format("at least {}, the samples of this call in {}/hall.csv", held, mName));
    }
    if (samples > held) mOddities.lostSamples.CountAt(mFile, samples - held);
    return update;
  }

  CalcOisValue ReadCalc() const {
    CalcOisValue calc;
    calc.frame = mFile.Get<std::uint32_t>(kCallFrame);
    calc.type = mFile.IfAny<std::int32_t>(kCallType);
    for (std::size_t i = 0; i < calc.pairs.size(); ++i) {
      auto const [timestamp, exposure] = kPairColumns[i];
      bool const isAsFirst = i > 0 && !mFile.Has(timestamp) && !mFile.Has(exposure);
      calc.pairs[i] = isAsFirst ? calc.pairs[0]
                                : ExposurePair{mFile.Get<std::uint64_t>(timestamp), mFile.Get<std::uint64_t>(exposure)};
    }
    calc.matched = mFile.IfAny<bool>(kCallMatched);
    if (!mFile.Has(kCallAnswer)) return calc;
    calc.answer = {mFile.Get<bool>(kCallAnswer), mFile.IfAny<float>(kCallHallX), mFile.IfAny<float>(kCallHallY)};
    return calc;
  }

  Capture mCapture;
  CsvFile mFile;  // of the calls
  HallFile mHallFile;
  std::uint64_t mNumber = 0;                            // of the current call; 0 before the first
  std::map<std::optional<std::int32_t>, Times> mTimes;  // by camera
};

}  // namespace

std::unique_ptr<Session> OpenCallRecording(std::string const& directory, SessionSettings const& settings,
                                           Capture const& capture) {
  return std::make_unique<CallRecording>(directory, settings, capture);
}

}  // namespace recording
