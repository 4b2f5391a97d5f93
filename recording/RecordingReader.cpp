// The readers of a recording's calls and samples; docs/recording-format.md describes the files.
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <map>

#include "recording/CsvFile.h"
#include "recording/FrameSession.h"
#include "recording/Recording.h"
#include "recording/RecordingColumns.h"

namespace recording {
namespace {

// The samples of hall.csv, in the order of delivery.
class HallFile {
 public:
  struct HallRow {
    std::uint64_t owner = 0;  // the frame or call with which the sample was delivered
    NSCam::Utils::SensorData sample;
  };

  // Reads the first row. `owner` is "frame" or "call". Throws UnusableInput (CsvFile).
  HallFile(std::string const& directory, char const* owner, LastLine lastLine)
      : mFile(directory + "/hall.csv", {{owner}, {kSampleColumns[1]}, {kSampleColumns[2]}, {kSampleColumns[3]}},
              {lastLine}),
        mOwner(owner) {
    Next();
  }

  // The row that was read last; nullopt at the end of the file.
  std::optional<HallRow> const& Row() const { return mRow; }

  void Next() {
    std::uint64_t const before = mRow ? mRow->owner : 0;
    mRow.reset();
    if (!mFile.Next()) return;
    HallRow row;
    row.owner = mOwner == "frame" ? mFile.Get<std::uint32_t>(kSampleOwner) : mFile.Get<std::uint64_t>(kSampleOwner);
    row.sample.timestamp = mFile.Get<std::int64_t>(kSampleTimestamp);
    row.sample.oisHallX = mFile.Get<float>(kSampleHallX);
    row.sample.oisHallY = mFile.Get<float>(kSampleHallY);
    if (row.owner < before) {
      mFile.Complain(kSampleOwner, fmt::format("at least {}, the {} of the row before", before, mOwner));
    }
    mRow = row;
  }

  // For complaints about the row, and its place.
  CsvFile const& File() const { return mFile; }

 private:
  CsvFile mFile;
  std::string_view mOwner;
  std::optional<HallRow> mRow;
};

enum FrameColumn : std::size_t { kFrame, kTimestamp, kExposure, kRollingShutter };

// A recording of version 1: reads frames.csv and hall.csv side by side.
class FrameRecording : public FrameSession {
 public:
  explicit FrameRecording(std::string const& directory)
      : FrameSession(directory),
        mFrameFile(directory + "/frames.csv", {{"frame"}, {"timestamp_ns"}, {"exposure_ns"}, {"rolling_shutter_ns"}}),
        mHallFile(directory, "frame", LastLine::kMayLackItsEnd) {}

  std::optional<std::uint64_t> FrameCount() const override {
    auto const lines = CountLines(mName + "/frames.csv", "");
    return lines ? std::optional(std::max<std::uint64_t>(*lines, 2) - 1) : std::nullopt;
  }

 private:
  std::optional<SessionFrame> ReadFrame() override {
    if (!mFrameFile.Next()) {
      for (; mHallFile.Row(); NextSample()) mOddities.undeliveredSamples.CountAt(mHallFile.File());
      return std::nullopt;
    }
    SessionFrame frame;
    frame.number = mFrameFile.Get<std::uint32_t>(kFrame);
    frame.exposure = {mFrameFile.Get<std::uint64_t>(kTimestamp), mFrameFile.Get<std::uint64_t>(kExposure)};
    frame.rollingShutterNs = mFrameFile.Get<std::uint32_t>(kRollingShutter);
    if (mLast && frame.number <= mLast->number) {
      mFrameFile.Complain(kFrame, fmt::format("a number above {}, the frame before", mLast->number));
    }
    if (mLast && frame.exposure.timestampNs < mLast->exposure.timestampNs) {
      mOddities.frameTimesBackward.CountAt(mFrameFile);
    }
    mLast = frame;
    for (; mHallFile.Row() && mHallFile.Row()->owner <= frame.number; NextSample()) {
      if (mHallFile.Row()->owner < frame.number) mOddities.unlistedSamples.CountAt(mHallFile.File());
      frame.batch.push_back(mHallFile.Row()->sample);
    }
    if (frame.batch.empty()) mOddities.emptyBatches.CountAt(mFrameFile);
    return frame;
  }

  void NextSample() {
    std::int64_t const beforeNs = mHallFile.Row()->sample.timestamp;
    mHallFile.Next();
    bool const isEarlier = mHallFile.Row() && mHallFile.Row()->sample.timestamp < beforeNs;
    if (isEarlier) mOddities.sampleTimesBackward.CountAt(mHallFile.File());
  }

  CsvFile mFrameFile;
  HallFile mHallFile;
  std::optional<SessionFrame> mLast;  // without its batch
};

// Only number and kind must be there.
std::vector<CsvFile::Column> CallColumns() {
  std::vector<CsvFile::Column> columns;
  for (std::size_t i = 0; i < kCallColumns.size(); ++i) {
    columns.push_back({kCallColumns[i], i == kCallNumber || i == kCallKind});
  }
  return columns;
}

// A recording of version 2: reads calls.csv and hall.csv side by side; holds one batch at a time.
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

std::unique_ptr<Session> OpenFrameRecording(std::string const& directory) {
  return std::make_unique<FrameRecording>(directory);
}

std::unique_ptr<Session> OpenCallRecording(std::string const& directory, SessionSettings const& settings,
                                           Capture const& capture) {
  return std::make_unique<CallRecording>(directory, settings, capture);
}

}  // namespace recording
