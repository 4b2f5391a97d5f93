#include "recording/LineReader.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <utility>

#include "hosting/Interruption.h"
#include "hosting/UnusableInput.h"

namespace recording {

LineReader::LineReader(std::string path) : mName(std::move(path)) {
  if (mName == "-") {
    mName = "standard input";
    mFile = STDIN_FILENO;
  } else {
    mOwned = hosting::FileDescriptor(open(mName.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
    mFile = mOwned.Number();
  }
  struct stat status = {};
  if (mFile < 0 || fstat(mFile, &status) != 0) Fail(errno);
  if (S_ISDIR(status.st_mode)) Fail(EISDIR);
  mMustWait = !S_ISREG(status.st_mode);
}

bool LineReader::Next(std::string_view& line) {
  std::size_t searched = mStart;
  for (;;) {
    std::size_t const end = mBuffer.find('\n', searched);
    if (end != std::string::npos) {
      line = std::string_view(mBuffer).substr(mStart, end - mStart);
      mStart = end + 1;
      if (!std::exchange(mSkipsRest, false)) return true;
      searched = mStart;
      continue;
    }
    if (mBuffer.size() - mStart > kLongestLine) {
      if (!std::exchange(mSkipsRest, true)) {
        mBuffer.erase(0, mStart);
        line = std::string_view(mBuffer).substr(0, kLongestLine);
        mStart = mBuffer.size();
        return true;
      }
      mStart = mBuffer.size();
    }
    searched = mBuffer.size() - mStart;
    mBuffer.erase(0, std::exchange(mStart, 0));
    if (Fill()) continue;
    line = mBuffer;
    mStart = mBuffer.size();
    return !line.empty() && !std::exchange(mSkipsRest, false);
  }
}

bool LineReader::Fill() {
  constexpr std::size_t kBlock = 65536;
  while (!mAtEnd) {
    if (mMustWait) hosting::WaitForInput(mFile);
    std::size_t const size = mBuffer.size();
    mBuffer.resize(size + kBlock);
    ssize_t const got = read(mFile, mBuffer.data() + size, kBlock);
    mBuffer.resize(size + static_cast<std::size_t>(got > 0 ? got : 0));
    if (got > 0) return true;
    if (got == 0) mAtEnd = true;
    if (got < 0 && errno != EINTR && errno != EAGAIN) Fail(errno);
  }
  return false;
}

void LineReader::Fail(int error) const {
  throw hosting::UnusableInput(fmt::format("{}: cannot be read: {}", mName, std::generic_category().message(error)));
}

}  // namespace recording
