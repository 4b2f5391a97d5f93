// Frames and samples from CSV files of any columns and units.
#include <fmt/format.h>

#include <cmath>
#include <limits>
#include <memory>
#include <vector>

#include "hosting/UnusableInput.h"
#include "recording/CsvFile.h"
#include "recording/FrameSession.h"
#include "tools/import/Imports.h"

namespace shadingctl {
namespace {

using NSCam::Utils::SensorData;
using recording::CsvFile;

constexpr std::int64_t kLatestNs = std::numeric_limits<std::int64_t>::max();
constexpr std::uint32_t kUsualDelayUs = 1000;  // as of `shadingctl generate`

// The wanted columns of each file, by their index there.
enum FrameColumn : std::size_t { kFrame, kTimestamp, kExposure, kReadout };
enum HallColumn : std::size_t { kHallFrame, kHallTimestamp, kHallX, kHallY };

CsvFile::Column ColumnFor(ImportArguments const& arguments, std::string const& field, bool isRequired = true) {
  return {ColumnOf(arguments, field).c_str(), isRequired};
}

std::vector<CsvFile::Column> FrameColumns(ImportArguments const& arguments) {
  return {ColumnFor(arguments, "frames.frame", arguments.columns.count("frames.frame") > 0),
          ColumnFor(arguments, "frames.timestamp"), ColumnFor(arguments, "frames.exposure", !arguments.exposureUs),
          ColumnFor(arguments, "frames.readout", !arguments.readoutUs)};
}

std::vector<CsvFile::Column> HallColumns(ImportArguments const& arguments) {
  return {ColumnFor(arguments, "hall.frame", arguments.columns.count("hall.frame") > 0),
          ColumnFor(arguments, "hall.timestamp"), ColumnFor(arguments, "hall.x"), ColumnFor(arguments, "hall.y")};
}

recording::CsvDialect DialectOf(ImportArguments const& arguments, std::uint32_t skip) {
  auto const lastLine = arguments.salvage ? recording::LastLine::kIsSalvaged : recording::LastLine::kMustEnd;
  return {lastLine, true, skip, arguments.separator, arguments.skipBad};
}

std::int64_t TimeNs(CsvFile const& file, std::size_t column, TimeUnit unit, std::int64_t leastNs, std::int64_t mostNs) {
  auto const ns = ParseTimeNs(file.Text(column), unit);
  if (ns && *ns >= leastNs && *ns <= mostNs) return *ns;
  file.Refuse(column, unit == TimeUnit::kNanoseconds
                          ? fmt::format("a whole number of ns from {} to {} (or another unit)", leastNs, mostNs)
                          : fmt::format("a time in {}, from {} to {} ns", Name(unit), leastNs, mostNs));
}

class CsvImport : public recording::FrameSession {
 public:
  explicit CsvImport(ImportArguments const& arguments)
      : FrameSession(arguments.framesFile),
        mArguments(arguments),
        mFrameFile(mArguments.framesFile, FrameColumns(mArguments), DialectOf(mArguments, mArguments.skip)),
        mHallFile(mArguments.hallFile, HallColumns(mArguments),
                  DialectOf(mArguments, mArguments.hallSkip.value_or(mArguments.skip))),
        mDeliversByFrame(mHallFile.Names(kHallFrame) && !mArguments.deliveryDelayUs) {
    if (mDeliversByFrame && !mFrameFile.Names(kFrame)) {
      throw hosting::UnusableInput(fmt::format(
          "{}: its samples name frames, and {} does not (--map frames.frame=COLUMN); --delivery-delay-us delivers them "
          "by time",
          mArguments.hallFile, mArguments.framesFile));
    }
    if (!mDeliversByFrame) mSettings.batches = recording::Batches::kRebuilt;
    ReadSample();
  }

  std::vector<std::string> Remarks() const override {
    std::vector<std::string> remarks;
    for (CsvFile const* const file : {&mFrameFile, &mHallFile}) {
      if (!file->SalvagedAt().empty()) {
        remarks.push_back(fmt::format("{}: the line may be cut, and is left out", file->SalvagedAt()));
      }
      if (file->SkippedRows() > 0) remarks.push_back(file->SkippedText());
    }
    if (!mDeliversByFrame) {
      remarks.push_back(
          fmt::format("{}: its samples are delivered by time, {} us after each frame's readout. These are not the "
                      "phone's batches: results will differ from the phone's",
                      mArguments.hallFile, DelayUs()));
    }
    if (mUndelivered > 0) {
      remarks.push_back(
          fmt::format("{}: samples left out after the last frame's: {}", mArguments.hallFile, mUndelivered));
    }
    return remarks;
  }

 private:
  struct SampleRow {
    std::uint32_t frame = 0;  // unless they are delivered by time
    SensorData data;
  };

  std::uint32_t DelayUs() const { return mArguments.deliveryDelayUs.value_or(kUsualDelayUs); }

  TimeUnit SampleUnit() const { return mArguments.hallTimeUnit.value_or(mArguments.timeUnit); }

  recording::SessionFrame TakeFrame() {
    TimeUnit const durationUnit = mArguments.durationUnit.value_or(mArguments.timeUnit);
    recording::SessionFrame frame;
    bool const isNumbered = mFrameFile.Names(kFrame);
    frame.number = isNumbered ? mFrameFile.Get<std::uint32_t>(kFrame) : mLastFrame.value_or(0) + 1;
    std::int64_t const timeNs = TimeNs(mFrameFile, kTimestamp, mArguments.timeUnit, 0, kLatestNs);
    std::int64_t const exposureNs = mArguments.exposureUs ? *mArguments.exposureUs * kNsPerUs
                                                          : TimeNs(mFrameFile, kExposure, durationUnit, 0, kLatestNs);
    auto const endNs = EndOfExposureNs(timeNs, exposureNs, mArguments.timesAreStarts);
    if (!endNs) mFrameFile.Refuse(kTimestamp, fmt::format("an exposure that ends by {} ns", kLatestNs));
    frame.exposure = {*endNs, static_cast<std::uint64_t>(exposureNs)};
    frame.rollingShutterNs =
        static_cast<std::uint32_t>(mArguments.readoutUs ? *mArguments.readoutUs * kNsPerUs
                                                        : TimeNs(mFrameFile, kReadout, durationUnit, 0,
                                                                 std::numeric_limits<std::uint32_t>::max()));
    if (isNumbered && mLastFrame && frame.number <= *mLastFrame) {
      mFrameFile.Complain(kFrame, fmt::format("a number above {}, the frame before", *mLastFrame));
    }
    mLastFrame = frame.number;
    return frame;
  }

  float Position(std::size_t column, double scale) const {
    float const position = Scaled(mHallFile.Get<float>(column), scale);
    if (!std::isfinite(position)) mHallFile.Refuse(column, "a number that single precision holds once it is scaled");
    return position;
  }

  // Into mSample; empty at the end of the file.
  void ReadSample() {
    std::uint32_t const before = mSample ? mSample->frame : 0;
    mSample.reset();
    mHallFile.ReadRow([this] {
      SampleRow row;
      if (mDeliversByFrame) row.frame = mHallFile.Get<std::uint32_t>(kHallFrame);
      row.data.timestamp =
          TimeNs(mHallFile, kHallTimestamp, SampleUnit(), std::numeric_limits<std::int64_t>::min(), kLatestNs);
      row.data.oisHallX = Position(kHallX, mArguments.scaleX);
      row.data.oisHallY = Position(kHallY, mArguments.scaleY);
      mSample = row;
    });
    if (mSample && mSample->frame < before) {
      mHallFile.Complain(kHallFrame, fmt::format("at least {}, the frame of the row before", before));
    }
  }

  std::optional<recording::SessionFrame> ReadFrame() override {
    std::optional<recording::SessionFrame> frame;
    mFrameFile.ReadRow([&] { frame = TakeFrame(); });
    if (frame) mTimes.AddFrame(*frame);
    for (; mSample && (!frame || IsDelivered(*mSample, *frame)); ReadSample()) {
      mTimes.AddSample(mSample->data.timestamp, frame.has_value());
      if (frame) {
        frame->batch.push_back(mSample->data);
      } else {
        ++mUndelivered;
      }
    }
    if (!frame) {
      if (!mLastFrame) throw hosting::UnusableInput(mArguments.framesFile + ": expected frames, found none");
      mTimes.Finish(mArguments.hallFile, SampleUnit());
    }
    return frame;
  }

  // Whether the sample is there when the frame is updated.
  bool IsDelivered(SampleRow const& sample, recording::SessionFrame const& frame) const {
    if (mDeliversByFrame) return sample.frame <= frame.number;
    std::uint64_t const deliveryNs = frame.exposure.timestampNs + frame.rollingShutterNs + DelayUs() * kNsPerUs;
    return sample.data.timestamp < 0 || static_cast<std::uint64_t>(sample.data.timestamp) <= deliveryNs;
  }

  ImportArguments mArguments;  // its texts are the names of columns below
  CsvFile mFrameFile;
  CsvFile mHallFile;
  bool mDeliversByFrame;
  std::optional<std::uint32_t> mLastFrame;
  std::uint64_t mUndelivered = 0;
  std::optional<SampleRow> mSample;  // the first one that is not delivered yet
  TimeCheck mTimes;
};

}  // namespace

std::unique_ptr<recording::Session> OpenCsv(ImportArguments const& arguments) {
  return std::make_unique<CsvImport>(arguments);
}

}  // namespace shadingctl
