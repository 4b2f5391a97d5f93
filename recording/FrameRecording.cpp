#include "recording/FrameRecording.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <utility>

namespace recording {
namespace {

enum FrameColumn : std::size_t { kFrame, kTimestamp, kExposure, kRollingShutter };
constexpr std::array<CsvFile::Column, 4> kFrameColumns = {
    {{"frame"}, {"timestamp_ns"}, {"exposure_ns"}, {"rolling_shutter_ns"}}};
enum HallColumn : std::size_t { kHallFrame, kHallTimestamp, kHallX, kHallY };
constexpr std::array<CsvFile::Column, 4> kHallColumns = {{{"frame"}, {"timestamp_ns"}, {"hall_x"}, {"hall_y"}}};

}  // namespace

FrameRecording::FrameRecording(std::string directory)
    : mDirectory(std::move(directory)),
      mFrameFile(mDirectory + "/frames.csv", kFrameColumns),
      mHallFile(mDirectory + "/hall.csv", kHallColumns) {
  ReadHallRow();
}

std::optional<SessionFrame> FrameRecording::ReadFrame() {
  std::optional<SessionFrame> frame = ReadFrameRow();
  if (frame) {
    frame->batch = ReadBatch(frame->number);
  } else {
    for (; mHallRow; ReadHallRow()) mOddities.undeliveredSamples.CountAt(mHallFile);
  }
  return frame;
}

std::optional<SessionFrame> FrameRecording::ReadFrameRow() {
  if (!mFrameFile.Next()) return std::nullopt;
  SessionFrame row;
  row.number = mFrameFile.Unsigned32(kFrame);
  row.exposure.timestampNs = mFrameFile.Unsigned64(kTimestamp);
  row.exposure.exposureNs = mFrameFile.Unsigned64(kExposure);
  row.rollingShutterNs = mFrameFile.Unsigned32(kRollingShutter);
  if (mLastFrame && row.number <= mLastFrame->number) {
    mFrameFile.Complain(kFrame, fmt::format("a number above {}, the frame before", mLastFrame->number));
  }
  if (mLastFrame && row.exposure.timestampNs < mLastFrame->timestampNs) {
    mOddities.frameTimesBackward.CountAt(mFrameFile);
  }
  mLastFrame = LastFrame{row.number, row.exposure.timestampNs};
  return row;
}

std::vector<NSCam::Utils::SensorData> FrameRecording::ReadBatch(std::uint32_t frame) {
  std::vector<NSCam::Utils::SensorData> batch;
  for (; mHallRow && mHallRow->frame <= frame; ReadHallRow()) {
    if (mHallRow->frame < frame) mOddities.unlistedSamples.CountAt(mHallFile);
    batch.push_back(mHallRow->sample);
  }
  if (batch.empty()) mOddities.emptyBatches.CountAt(mFrameFile);
  return batch;
}

void FrameRecording::ReadHallRow() {
  std::optional<HallRow> const before = std::exchange(mHallRow, std::nullopt);
  if (!mHallFile.Next()) return;
  HallRow row;
  row.frame = mHallFile.Unsigned32(kHallFrame);
  row.sample.timestamp = mHallFile.Signed64(kHallTimestamp);
  row.sample.oisHallX = mHallFile.Finite(kHallX);
  row.sample.oisHallY = mHallFile.Finite(kHallY);
  if (before && row.frame < before->frame) {
    mHallFile.Complain(kHallFrame, fmt::format("at least {}, the frame of the row before", before->frame));
  }
  if (before && row.sample.timestamp < before->sample.timestamp) mOddities.sampleTimesBackward.CountAt(mHallFile);
  mHallRow = row;
}

std::optional<std::uint64_t> FrameRecording::FrameCount() const {
  std::string const path = mDirectory + "/frames.csv";
  std::error_code error;
  if (!std::filesystem::is_regular_file(path, error)) return std::nullopt;  // a pipe can be read only once
  std::ifstream file(path, std::ios::binary);
  auto const lines = std::count(std::istreambuf_iterator<char>(file), {}, '\n');
  return static_cast<std::uint64_t>(std::max<std::ptrdiff_t>(lines - 1, 1));
}

}  // namespace recording
