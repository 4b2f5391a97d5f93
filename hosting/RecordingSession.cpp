#include "hosting/RecordingSession.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <utility>

namespace hosting {
namespace {

enum FrameColumn : std::size_t { kFrame, kTimestamp, kExposure, kRollingShutter };
enum HallColumn : std::size_t { kHallFrame, kHallTimestamp, kHallX, kHallY };

void Count(Oddity& oddity, CsvFile const& file) {
  if (oddity.count++ == 0) oddity.firstPlace = file.Place();
}

}  // namespace

RecordingSession::RecordingSession(std::string directory)
    : mDirectory(std::move(directory)),
      mFrameFile(mDirectory + "/frames.csv", {"frame", "timestamp_ns", "exposure_ns", "rolling_shutter_ns"}),
      mHallFile(mDirectory + "/hall.csv", {"frame", "timestamp_ns", "hall_x", "hall_y"}) {
  ReadHallRow();
}

bool RecordingSession::Next(Delivery& delivery) {
  delivery.samples.clear();
  if (!ReadFrame(delivery.frame)) {
    for (; mHallRow; ReadHallRow()) Count(mOddities.undeliveredSamples, mHallFile);
    return false;
  }
  for (; mHallRow && mHallRow->frame <= delivery.frame.number; ReadHallRow()) {
    if (mHallRow->frame < delivery.frame.number) Count(mOddities.unlistedSamples, mHallFile);
    delivery.samples.push_back(mHallRow->sample);
  }
  if (delivery.samples.empty()) Count(mOddities.framesWithoutSamples, mFrameFile);
  return true;
}

bool RecordingSession::ReadFrame(Frame& frame) {
  if (!mFrameFile.Next()) return false;
  frame.number = mFrameFile.Unsigned32(kFrame);
  frame.timestampNs = mFrameFile.Unsigned64(kTimestamp);
  frame.exposureNs = mFrameFile.Unsigned64(kExposure);
  frame.rollingShutterNs = mFrameFile.Unsigned32(kRollingShutter);
  if (mLastFrame && frame.number <= mLastFrame->number) {
    mFrameFile.Complain(kFrame, fmt::format("a number above {}, the frame before", mLastFrame->number));
  }
  if (mLastFrame && frame.timestampNs < mLastFrame->timestampNs) Count(mOddities.frameTimesBackward, mFrameFile);
  mLastFrame = frame;
  return true;
}

void RecordingSession::ReadHallRow() {
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
  if (before && row.sample.timestamp < before->sample.timestamp) Count(mOddities.sampleTimesBackward, mHallFile);
  mHallRow = row;
}

std::optional<std::uint64_t> RecordingSession::FrameCount() const {
  std::string const path = mDirectory + "/frames.csv";
  std::error_code error;
  if (!std::filesystem::is_regular_file(path, error)) return std::nullopt;  // a pipe can be read only once
  std::ifstream file(path, std::ios::binary);
  auto const lines = std::count(std::istreambuf_iterator<char>(file), {}, '\n');
  return static_cast<std::uint64_t>(std::max<std::ptrdiff_t>(lines - 1, 1));
}

}  // namespace hosting
