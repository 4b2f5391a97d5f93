// Frames and samples from a VideoIMUCapture recording.
#include <fmt/format.h>
#include <google/protobuf/io/coded_stream.h>
#include <google/protobuf/io/zero_copy_stream_impl_lite.h>
#include <google/protobuf/wire_format_lite.h>

#include <cmath>
#include <limits>

#include "hosting/UnusableInput.h"
#include "recording/FrameSession.h"
#include "recording/InputFile.h"
#include "tools/import/Imports.h"
#include "video_capture.pb.h"

namespace shadingctl {
namespace {

namespace io = google::protobuf::io;
using google::protobuf::internal::WireFormatLite;

// A frame of 1/15 s has 2,000 samples at most, in 20 bytes each: more is no frame, and is not put into memory.
constexpr int kLargestFrame = 4 << 20;

constexpr std::uint32_t kFrameTag = WireFormatLite::MakeTag(videoimu::VideoCaptureData::kVideoMetaFieldNumber,
                                                            WireFormatLite::WIRETYPE_LENGTH_DELIMITED);

// The file as a stream of fields, of which one frame at a time is in memory. Its bytes are read and never skipped by
// seeking: a seek succeeds beyond the end, where what is missing would go unnoticed. Throws UnusableInput where the
// file cannot be read, Interrupted while it waits for a pipe.
class VideoFile : private io::CopyingInputStream {
 public:
  explicit VideoFile(std::string const& path) : mFile(path), mStream(this) {}

  // Reads the next frame, passing over other fields. False at the end, and where the file ends inside a field or holds
  // something else there: Problem() says what, and nothing can be read after it.
  bool Next(videoimu::VideoFrameMetaData& frame) {
    Found found = Found::kOther;
    while (found == Found::kOther) {
      found = ReadField(frame);
      if (mProblem.empty()) mWholeBytes = mStream.ByteCount();
    }
    return found == Found::kFrame;
  }

  // The bytes of all fields that were read so far, from the beginning of the file.
  std::int64_t WholeBytes() const { return mWholeBytes; }
  std::string const& Problem() const { return mProblem; }

 private:
  enum class Found { kFrame, kOther, kNothing };

  int Read(void* buffer, int size) override {
    std::size_t const got = mFile.Read(static_cast<char*>(buffer), static_cast<std::size_t>(size));
    mAtEnd = got == 0;
    return static_cast<int>(got);
  }

  // A stream of its own for every field, since one cannot read more than 2 GiB. At its end it gives back what it has
  // taken ahead.
  Found ReadField(videoimu::VideoFrameMetaData& frame) {
    io::CodedInputStream input(&mStream);
    void const* data = nullptr;
    int size = 0;
    if (!input.GetDirectBufferPointer(&data, &size)) return Found::kNothing;
    std::uint32_t const tag = input.ReadTag();
    if (tag == kFrameTag && input.ReadVarintSizeAsInt(&size)) {
      if (size > kLargestFrame) {
        return Broken(fmt::format("expected a frame of at most {} bytes, found a length of {}", kLargestFrame, size));
      }
      if (input.ReadString(&mFrameBytes, size)) {
        if (frame.ParseFromString(mFrameBytes)) return Found::kFrame;
        return Broken("expected a frame, found fields that are none of a message");
      }
    } else if (tag != kFrameTag && WireFormatLite::GetTagFieldNumber(tag) > 0) {
      if (WireFormatLite::SkipField(&input, tag)) return Found::kOther;
    }
    if (!mAtEnd) return Broken("expected a field of a recording, found other bytes");
    return Broken(fmt::format("expected a whole field, found the end of the file after {} bytes, so it is cut",
                              mStream.ByteCount()));
  }

  Found Broken(std::string const& what) {
    mProblem = what;
    return Found::kNothing;
  }

  recording::InputFile mFile;
  bool mAtEnd = false;
  io::CopyingInputStreamAdaptor mStream;
  std::string mFrameBytes;
  std::int64_t mWholeBytes = 0;
  std::string mProblem;
};

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
    if (mFile.Next(mMetaData)) return Converted(begin);
    if (!mFile.Problem().empty() && (!mArguments.salvage || mFrames == 0)) {
      throw hosting::UnusableInput(fmt::format(
          "{}: byte {}: {}; the {} frames with {} samples before that byte are whole{}", mName, mFile.WholeBytes(),
          mFile.Problem(), mFrames, mSamples, mFrames > 0 ? ", and --salvage takes those" : ""));
    }
    if (mFrames > 0) {
      mTimes.Finish(mName, std::nullopt);
      return std::nullopt;
    }
    throw hosting::UnusableInput(
        fmt::format("{}: expected frames (video_meta), found none in {} bytes", mName, mFile.WholeBytes()));
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
