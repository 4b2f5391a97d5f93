#include "capture/RecordingFiles.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string_view>
#include <system_error>

#include "recording/Recording.h"

namespace capture {
namespace {

hosting::FileDescriptor Create(std::string const& path) {
  hosting::FileDescriptor descriptor(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644));
  if (!descriptor) throw std::system_error(errno, std::generic_category(), path);
  return descriptor;
}

bool WriteAt(int descriptor, std::string_view text, std::int64_t offset) {
  while (!text.empty()) {
    ssize_t const written = pwrite(descriptor, text.data(), text.size(), offset);
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) return false;
    text.remove_prefix(static_cast<std::size_t>(written));
    offset += written;
  }
  return true;
}

}  // namespace

RecordingFiles::RecordingFiles(std::string const& directory, recording::SessionSettings const& settings)
    : mSettings(recording::SettingsText(settings)) {
  if (mkdir(directory.c_str(), 0755) != 0) throw std::system_error(errno, std::generic_category(), directory);
  mSamples.descriptor = Create(directory + "/hall.csv");
  mCalls.descriptor = Create(directory + "/calls.csv");
  mRecording.descriptor = Create(directory + "/recording.csv");
  Write({recording::CaptureState::kRunning});
  if (!Append(recording::SamplesHeader(), recording::CallsHeader())) {
    throw std::system_error(errno, std::generic_category(), directory);
  }
}

bool RecordingFiles::Append(std::string const& samples, std::string const& calls) {
  if (WriteAt(mSamples.descriptor.Number(), samples, mSamples.size) &&
      WriteAt(mCalls.descriptor.Number(), calls, mCalls.size)) {
    mSamples.size += static_cast<std::int64_t>(samples.size());
    mCalls.size += static_cast<std::int64_t>(calls.size());
    return true;
  }
  int const error = errno;
  for (File const* file : {&mSamples, &mCalls}) {
    // A cut line would make the recording unreadable. Nothing is left to do where this fails, too.
    if (ftruncate(file->descriptor.Number(), file->size) != 0) break;
  }
  errno = error;
  return false;
}

void RecordingFiles::Write(recording::Capture const& capture) {
  WriteAt(mRecording.descriptor.Number(), mSettings + recording::CaptureText(capture), 0);
}

}  // namespace capture
