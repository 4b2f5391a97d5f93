// Reads the frames of a VideoIMUCapture recording one by one.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace videoimu {
class VideoFrameMetaData;
}

namespace shadingctl {

// The file is read as a stream of fields, of which one frame at a time is in memory. Throws UnusableInput where the
// file cannot be read, Interrupted while it waits for a pipe.
class VideoFile {
 public:
  explicit VideoFile(std::string const& path);
  ~VideoFile();

  enum class Found { kFrame, kEnd, kBroken };

  // Reads the next frame, passing over other fields. kBroken: the file ends inside a field, or holds something else
  // there; problem() says what, and nothing can be read after it.
  Found Next(videoimu::VideoFrameMetaData& frame);

  // The bytes of all fields that were read so far, from the beginning of the file.
  std::int64_t WholeBytes() const { return mWholeBytes; }
  std::string const& Problem() const { return mProblem; }

 private:
  class Bytes;

  enum class Field { kFrame, kOther, kEnd, kBroken };
  Field ReadField(videoimu::VideoFrameMetaData& frame);
  Field Broken();                         // by the end of the file, or a number without an end
  Field Broken(std::string const& what);  // by something else

  std::unique_ptr<Bytes> mBytes;
  std::string mFrameBytes;
  std::int64_t mWholeBytes = 0;
  std::string mProblem;
};

}  // namespace shadingctl
