// A recording of version 1: DIRECTORY/frames.csv and DIRECTORY/hall.csv, described in docs/recording-format.md.
#include <fmt/format.h>

#include <algorithm>

#include "recording/FrameSession.h"
#include "recording/Recording.h"
#include "recording/RecordingColumns.h"

namespace recording {
namespace {

enum FrameColumn : std::size_t { kFrame, kTimestamp, kExposure, kRollingShutter };

// Reads both files side by side.
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
    std::optional<SessionFrame> frame = ReadFrameRow();
    if (frame) {
      frame->batch = ReadBatch(frame->number);
    } else {
      for (; mHallFile.Row(); NextSample()) mOddities.undeliveredSamples.CountAt(mHallFile.File());
    }
    return frame;
  }

  // Without its batch; nullopt at the end of the file.
  std::optional<SessionFrame> ReadFrameRow() {
    if (!mFrameFile.Next()) return std::nullopt;
    SessionFrame row;
    row.number = mFrameFile.Get<std::uint32_t>(kFrame);
    row.exposure = {mFrameFile.Get<std::uint64_t>(kTimestamp), mFrameFile.Get<std::uint64_t>(kExposure)};
    row.rollingShutterNs = mFrameFile.Get<std::uint32_t>(kRollingShutter);
    if (mLast && row.number <= mLast->number) {
      mFrameFile.Complain(kFrame, fmt::format("a number above {}, the frame before", mLast->number));
    }
    if (mLast && row.exposure.timestampNs < mLast->exposure.timestampNs) {
      mOddities.frameTimesBackward.CountAt(mFrameFile);
    }
    mLast = row;
    return row;
  }

  std::vector<NSCam::Utils::SensorData> ReadBatch(std::uint32_t frame) {
    std::vector<NSCam::Utils::SensorData> batch;
    for (; mHallFile.Row() && mHallFile.Row()->owner <= frame; NextSample()) {
      if (mHallFile.Row()->owner < frame) mOddities.unlistedSamples.CountAt(mHallFile.File());
      batch.push_back(mHallFile.Row()->sample);
    }
    if (batch.empty()) mOddities.emptyBatches.CountAt(mFrameFile);
    return batch;
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

}  // namespace

std::unique_ptr<Session> OpenFrameRecording(std::string const& directory) {
  return std::make_unique<FrameRecording>(directory);
}

}  // namespace recording
