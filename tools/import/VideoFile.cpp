#include "tools/import/VideoFile.h"

#include <fmt/format.h>
#include <google/protobuf/io/coded_stream.h>
#include <google/protobuf/io/zero_copy_stream_impl_lite.h>

#include <limits>

#include "recording/InputFile.h"
#include "video_capture.pb.h"

namespace shadingctl {
namespace {

namespace io = google::protobuf::io;

// A frame of 1/15 s has 2,000 samples at most, in 20 bytes each: more is no frame, and is not put into memory.
constexpr std::uint64_t kLargestFrame = 4 << 20;

// What the lowest three bits of a field's tag say.
enum WireType : std::uint32_t { kVarint = 0, kEightBytes = 1, kLengthPrefixed = 2, kFourBytes = 5 };
constexpr std::uint32_t kWireTypeBits = 3;
constexpr std::uint32_t kFrameField = videoimu::VideoCaptureData::kVideoMetaFieldNumber;

}  // namespace

// The bytes of the file, in blocks. They are read and never skipped by seeking: a seek succeeds beyond the end, where
// what is missing would go unnoticed.
class VideoFile::Bytes : public io::CopyingInputStream {
 public:
  explicit Bytes(std::string const& path) : mFile(path), stream(this) {}

  int Read(void* buffer, int size) override {
    std::size_t const got = mFile.Read(static_cast<char*>(buffer), static_cast<std::size_t>(size));
    mAtEnd = got == 0;
    return static_cast<int>(got);
  }

  bool AtEnd() const { return mAtEnd; }

 private:
  recording::InputFile mFile;
  bool mAtEnd = false;

 public:
  io::CopyingInputStreamAdaptor stream;
};

VideoFile::VideoFile(std::string const& path) : mBytes(std::make_unique<Bytes>(path)) {}
VideoFile::~VideoFile() = default;

VideoFile::Found VideoFile::Next(videoimu::VideoFrameMetaData& frame) {
  for (;;) {
    Field const field = ReadField(frame);
    if (field == Field::kBroken) return Found::kBroken;
    mWholeBytes = mBytes->stream.ByteCount();
    if (field == Field::kFrame) return Found::kFrame;
    if (field == Field::kEnd) return Found::kEnd;
  }
}

// A stream of its own for every field, since one cannot read more than 2 GiB. At its end it gives back what it has
// taken ahead.
VideoFile::Field VideoFile::ReadField(videoimu::VideoFrameMetaData& frame) {
  io::CodedInputStream input(&mBytes->stream);
  void const* data = nullptr;
  int size = 0;
  if (!input.GetDirectBufferPointer(&data, &size)) return Field::kEnd;
  std::uint64_t tag = 0;
  if (!input.ReadVarint64(&tag)) return Broken();
  if (tag > std::numeric_limits<std::uint32_t>::max() || tag >> kWireTypeBits == 0) {
    return Broken(fmt::format("expected the tag of a field, found {}", tag));
  }
  std::uint32_t const wireType = static_cast<std::uint32_t>(tag) & ((1U << kWireTypeBits) - 1);
  std::uint64_t value = 0;
  switch (wireType) {
    case kVarint:
      return input.ReadVarint64(&value) ? Field::kOther : Broken();
    case kEightBytes:
      return input.Skip(8) ? Field::kOther : Broken();
    case kFourBytes:
      return input.Skip(4) ? Field::kOther : Broken();
    case kLengthPrefixed:
      break;
    default:
      return Broken(fmt::format("expected a field of wire type 0, 1, 2 or 5, found {}", wireType));
  }
  if (!input.ReadVarint64(&value)) return Broken();
  bool const isFrame = tag >> kWireTypeBits == kFrameField;
  std::uint64_t const most = isFrame ? kLargestFrame : std::numeric_limits<std::int32_t>::max();
  if (value > most)
    return Broken(fmt::format("expected a field of at most {} bytes, found a length of {}", most, value));
  int const length = static_cast<int>(value);
  if (!isFrame) return input.Skip(length) ? Field::kOther : Broken();
  if (!input.ReadString(&mFrameBytes, length)) return Broken();
  if (frame.ParseFromString(mFrameBytes)) return Field::kFrame;
  return Broken("expected a frame, found fields that are none of a message");
}

VideoFile::Field VideoFile::Broken() {
  if (!mBytes->AtEnd()) return Broken("expected a number of at most 10 bytes, found a longer one");
  return Broken(fmt::format("expected a whole field, found the end of the file after {} bytes, so it is cut",
                            mBytes->stream.ByteCount()));
}

VideoFile::Field VideoFile::Broken(std::string const& what) {
  mProblem = what;
  return Field::kBroken;
}

}  // namespace shadingctl
