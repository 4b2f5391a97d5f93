// Frames and samples from a VideoIMUCapture recording.
#include <fmt/format.h>

#include <cmath>
#include <limits>
#include <utility>

#include "hosting/UnusableInput.h"
#include "recording/FrameSession.h"
#include "tools/import/Imports.h"
#include "tools/import/VideoFile.h"
#include "video_capture.pb.h"

namespace shadingctl {
namespace {

constexpr std::int64_t kNsPerUs = 1000;

class VideoImport : public recording::FrameSession {
 public:
  explicit VideoImport(ImportArguments const& arguments)
      : FrameSession(arguments.file), mArguments(arguments), mFile(arguments.file) {
    mSettings.batches = recording::Batches::kRebuilt;
  }

  std::vector<std::string> Remarks() const override {
    std::vector<std::string> remarks;
    if (!mFile.Problem().empty()) {
      remarks.push_back(fmt::format("{}: byte {}: {}; what comes before it is whole and taken", mName,
                                    mFile.WholeBytes(), mFile.Problem()));
    }
    remarks.push_back(fmt::format(
        "{}: its samples are delivered with the frames that name them. These are not the batches of the platform's "
        "sensor provider, and positions are in pixels times the scale: results will differ from the phone's",
        mName));
    return remarks;
  }

 private:
  std::optional<recording::SessionFrame> ReadFrame() override {
    std::int64_t const begin = mFile.WholeBytes();
    switch (mFile.Next(mMetaData)) {
      case VideoFile::Found::kFrame:
        return Converted(begin);
      case VideoFile::Found::kBroken:
        if (!mArguments.salvage || mFrames == 0) RefuseBroken();
        break;
      case VideoFile::Found::kEnd:
        break;
    }
    if (mFrames > 0) {
      mTimes.Finish(mName, std::nullopt);
      return std::nullopt;
    }
    throw hosting::UnusableInput(
        fmt::format("{}: expected frames (video_meta), found none in {} bytes", mName, mFile.WholeBytes()));
  }

  [[noreturn]] void RefuseBroken() const {
    std::string const salvage = mFrames > 0 ? ", and --salvage takes those" : "";
    throw hosting::UnusableInput(
        fmt::format("{}: byte {}: {}; the {} frames with {} samples before that byte are "
                    "whole{}",
                    mName, mFile.WholeBytes(), mFile.Problem(), mFrames, mSamples, salvage));
  }

  // `begin`: where to look for the frame's field, for a message.
  recording::SessionFrame Converted(std::int64_t begin) {
    auto const complain = [&](char const* field, std::string const& expected, auto found) {
      throw hosting::UnusableInput(fmt::format("{}: byte {}, frame {}: {}: expected {}, found {}", mName, begin,
                                               mMetaData.frame_number(), field, expected, found));
    };
    recording::SessionFrame frame;
    constexpr std::int64_t kMost32 = std::numeric_limits<std::uint32_t>::max();
    std::int64_t const least = mFrames > 0 ? std::int64_t{mLastFrame} + 1 : 0;
    if (mMetaData.frame_number() < least || mMetaData.frame_number() > kMost32) {
      complain("frame_number", fmt::format("a number from {} to {}", least, kMost32), mMetaData.frame_number());
    }
    frame.number = mLastFrame = static_cast<std::uint32_t>(mMetaData.frame_number());

    std::int64_t const exposureNs =
        mArguments.exposureUs ? *mArguments.exposureUs * kNsPerUs : mMetaData.exposure_time_ns();
    // 0 is what the field holds when it was not written.
    if (!mArguments.exposureUs && exposureNs <= 0)
      complain("exposure_time_ns", "a time (or --exposure-us)", exposureNs);
    std::int64_t const readoutNs =
        mArguments.readoutUs ? *mArguments.readoutUs * kNsPerUs : mMetaData.frame_readout_ns();
    bool const hasReadout = mArguments.readoutUs || (readoutNs > 0 && readoutNs <= kMost32);
    if (!hasReadout)
      complain("frame_readout_ns", fmt::format("a time up to {} ns (or --readout-us)", kMost32), readoutNs);
    auto const endNs = EndOfExposureNs(mMetaData.time_ns(), exposureNs, true);
    if (!endNs) complain("time_ns", "an exposure that begins at 0 or later and ends in 63 bits", mMetaData.time_ns());
    frame.exposure = {*endNs, static_cast<std::uint64_t>(exposureNs)};
    frame.rollingShutterNs = static_cast<std::uint32_t>(readoutNs);

    for (videoimu::OISSample const& told : mMetaData.ois_samples()) {
      NSCam::Utils::SensorData sample;
      sample.timestamp = told.time_ns();
      sample.oisHallX = Scaled(told.x_shift(), mArguments.scaleX);
      sample.oisHallY = Scaled(told.y_shift(), mArguments.scaleY);
      if (!std::isfinite(sample.oisHallX)) complain("x_shift", "a number that single precision holds", told.x_shift());
      if (!std::isfinite(sample.oisHallY)) complain("y_shift", "a number that single precision holds", told.y_shift());
      mTimes.AddSample(sample.timestamp, true);
      frame.batch.push_back(sample);
    }
    mTimes.AddFrame(frame);
    ++mFrames;
    mSamples += frame.batch.size();
    return frame;
  }

  ImportArguments mArguments;
  VideoFile mFile;
  videoimu::VideoFrameMetaData mMetaData;
  std::uint64_t mFrames = 0;  // whole ones so far
  std::uint64_t mSamples = 0;
  std::uint32_t mLastFrame = 0;
  TimeCheck mTimes;
};

}  // namespace

std::unique_ptr<recording::Session> OpenVideo(ImportArguments const& arguments) {
  return std::make_unique<VideoImport>(arguments);
}

}  // namespace shadingctl
