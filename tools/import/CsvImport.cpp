// Frames and samples from CSV files of any columns and units.
#include <fmt/format.h>

#include <array>
#include <cmath>
#include <limits>
#include <memory>
#include <utility>

#include "hosting/UnusableInput.h"
#include "recording/CsvFile.h"
#include "recording/FrameSession.h"
#include "tools/import/ImportedSession.h"
#include "tools/import/WholeRows.h"

namespace shadingctl {
namespace {

using NSCam::Utils::SensorData;
using recording::CsvFile;

constexpr std::int64_t kLatestNs = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t kNsPerUs = 1000;
constexpr std::uint32_t kUsualDelayUs = 1000;  // as of `shadingctl generate`

enum FrameColumn : std::size_t { kFrame, kTimestamp, kExposure, kReadout };
enum HallColumn : std::size_t { kHallFrame, kHallTimestamp, kHallX, kHallY };

// The column of a field: the one that --map gives it, or the one of a recording of version 1.
char const* ColumnOf(ImportArguments const& arguments, char const* field, char const* usual) {
  auto const mapped = arguments.columns.find(field);
  return mapped == arguments.columns.end() ? usual : mapped->second.c_str();
}

std::array<CsvFile::Column, 4> FrameColumns(ImportArguments const& arguments) {
  return {{{ColumnOf(arguments, "frames.frame", "frame"), arguments.columns.count("frames.frame") > 0},
           {ColumnOf(arguments, "frames.timestamp", "timestamp_ns")},
           {ColumnOf(arguments, "frames.exposure", "exposure_ns"), !arguments.exposureUs},
           {ColumnOf(arguments, "frames.readout", "rolling_shutter_ns"), !arguments.readoutUs}}};
}

std::array<CsvFile::Column, 4> HallColumns(ImportArguments const& arguments) {
  return {{{ColumnOf(arguments, "hall.frame", "frame"), arguments.columns.count("hall.frame") > 0},
           {ColumnOf(arguments, "hall.timestamp", "timestamp_ns")},
           {ColumnOf(arguments, "hall.x", "hall_x")},
           {ColumnOf(arguments, "hall.y", "hall_y")}}};
}

std::int64_t TimeNs(CsvFile const& file, std::size_t column, TimeUnit unit, std::int64_t leastNs, std::int64_t mostNs) {
  auto const ns = ParseTimeNs(file.Text(column), unit);
  if (ns && *ns >= leastNs && *ns <= mostNs) return *ns;
  file.Complain(column, unit == TimeUnit::kNanoseconds
                            ? fmt::format("a whole number of ns from {} to {} (or another unit)", leastNs, mostNs)
                            : fmt::format("a time in {}, from {} to {} ns", Name(unit), leastNs, mostNs));
}

class CsvImport : public ImportedSession, private recording::FrameSession {
 public:
  explicit CsvImport(ImportArguments const& arguments)
      : mArguments(arguments),
        mFrameFile(mArguments.framesFile, FrameColumns(mArguments), CsvFile::LastLine::kMayLackItsEnd,
                   {mArguments.skip, true}),
        mHallFile(mArguments.hallFile, HallColumns(mArguments), CsvFile::LastLine::kMayLackItsEnd,
                  {mArguments.hallSkip.value_or(mArguments.skip), true}),
        mDeliversByFrame(mHallFile.Names(kHallFrame) && !mArguments.deliveryDelayUs),
        mFrames(
            mFrameFile, [this] { return ReadFrameRow(); }, mArguments.salvage),
        mSamples(
            mHallFile, [this] { return ReadSampleRow(); }, mArguments.salvage),
        mSample(mSamples.Next()) {
    if (mDeliversByFrame && !mFrameFile.Names(kFrame)) {
      throw hosting::UnusableInput(fmt::format(
          "{}: its samples name frames, and {} does not (--map frames.frame=COLUMN); --delivery-delay-us delivers them "
          "by time",
          mArguments.hallFile, mArguments.framesFile));
    }
    if (!mDeliversByFrame) mSettings.batches = recording::Batches::kRebuilt;
  }

  recording::Session& Session() override { return *this; }
  std::string Name() const override { return mArguments.framesFile; }
  std::optional<std::uint64_t> FrameCount() const override { return std::nullopt; }

  std::vector<std::string> Remarks() const override {
    std::vector<std::string> remarks;
    for (std::string const& place : {mFrames.CutAt(), mSamples.CutAt()}) {
      if (!place.empty()) remarks.push_back(fmt::format("{}: the line may be cut, and is left out", place));
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

  recording::SessionFrame ReadFrameRow() {
    TimeUnit const durationUnit = mArguments.durationUnit.value_or(mArguments.timeUnit);
    recording::SessionFrame frame;
    bool const isNumbered = mFrameFile.Names(kFrame);
    frame.number = isNumbered ? mFrameFile.Unsigned32(kFrame) : mLastFrame.value_or(0) + 1;
    if (isNumbered && mLastFrame && frame.number <= *mLastFrame) {
      mFrameFile.Complain(kFrame, fmt::format("a number above {}, the frame before", *mLastFrame));
    }
    mLastFrame = frame.number;
    std::int64_t const timeNs = TimeNs(mFrameFile, kTimestamp, mArguments.timeUnit, 0, kLatestNs);
    std::int64_t const exposureNs = mArguments.exposureUs ? *mArguments.exposureUs * kNsPerUs
                                                          : TimeNs(mFrameFile, kExposure, durationUnit, 0, kLatestNs);
    auto const endNs = EndOfExposureNs(timeNs, exposureNs, mArguments.timesAreStarts);
    if (!endNs) mFrameFile.Complain(kTimestamp, fmt::format("an exposure that ends by {} ns", kLatestNs));
    frame.exposure = {*endNs, static_cast<std::uint64_t>(exposureNs)};
    frame.rollingShutterNs =
        static_cast<std::uint32_t>(mArguments.readoutUs ? *mArguments.readoutUs * kNsPerUs
                                                        : TimeNs(mFrameFile, kReadout, durationUnit, 0,
                                                                 std::numeric_limits<std::uint32_t>::max()));
    return frame;
  }

  SampleRow ReadSampleRow() {
    SampleRow row;
    if (mDeliversByFrame) {
      row.frame = mHallFile.Unsigned32(kHallFrame);
      if (row.frame < mLastSampleFrame) {
        mHallFile.Complain(kHallFrame, fmt::format("at least {}, the frame of the row before", mLastSampleFrame));
      }
      mLastSampleFrame = row.frame;
    }
    row.data.timestamp = TimeNs(mHallFile, kHallTimestamp, mArguments.hallTimeUnit.value_or(mArguments.timeUnit),
                                std::numeric_limits<std::int64_t>::min(), kLatestNs);
    row.data.oisHallX = Position(kHallX, mArguments.scaleX);
    row.data.oisHallY = Position(kHallY, mArguments.scaleY);
    return row;
  }

  float Position(std::size_t column, double scale) const {
    float const position = Scaled(mHallFile.Finite(column), scale);
    if (!std::isfinite(position)) mHallFile.Complain(column, "a number that single precision holds once it is scaled");
    return position;
  }

  std::optional<recording::SessionFrame> ReadFrame() override {
    std::optional<recording::SessionFrame> frame = mFrames.Next();
    if (!frame) {
      for (; mSample; mSample = mSamples.Next()) ++mUndelivered;
      return frame;
    }
    for (; mSample && IsDelivered(*mSample, *frame); mSample = mSamples.Next()) frame->batch.push_back(mSample->data);
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
  std::uint32_t mLastSampleFrame = 0;
  std::uint64_t mUndelivered = 0;
  WholeRows<recording::SessionFrame> mFrames;
  WholeRows<SampleRow> mSamples;
  std::optional<SampleRow> mSample;  // the first one that is not delivered yet
};

}  // namespace

std::unique_ptr<ImportedSession> OpenCsv(ImportArguments const& arguments) {
  return std::make_unique<CsvImport>(arguments);
}

}  // namespace shadingctl
