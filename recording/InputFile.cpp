#include "recording/InputFile.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <new>
#include <system_error>

#include "hosting/Interruption.h"
#include "hosting/UnusableInput.h"

namespace recording {

InputFile::InputFile(std::string path) : mName(std::move(path)) {
  if (mName == "-") {
    mName = "standard input";
    mFile = STDIN_FILENO;
  } else {
    // Opening must not wait for a pipe's writer: only reading can be interrupted.
    mOwned = hosting::FileDescriptor(open(mName.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
    mFile = mOwned.Number();
  }
  struct stat status = {};
  if (mFile < 0 || fstat(mFile, &status) != 0) Fail(errno);
  mIsRegular = S_ISREG(status.st_mode);
  if (mIsRegular) mLeft = status.st_size - lseek(mFile, 0, SEEK_CUR);  // standard input may have been read before
}

std::size_t InputFile::Read(char* buffer, std::size_t size) {
  if (mPeeked && size > 0) {
    *buffer = *std::exchange(mPeeked, std::nullopt);
    return 1;
  }
  for (;;) {
    if (!mIsRegular) hosting::WaitForInput(mFile);
    ssize_t const got = read(mFile, buffer, size);
    if (got < 0 && (errno == EINTR || errno == EAGAIN)) continue;
    if (got < 0) Fail(errno);
    if (got == 0 && mLeft > 0) {
      errno = EIO;
      throw hosting::UnusableInput(fmt::format(
          "{}: cannot be read: it has become shorter; expected {} more bytes, found its end", mName, mLeft));
    }
    mLeft -= got;
    return static_cast<std::size_t>(got);
  }
}

std::optional<char> InputFile::Peek() {
  char first = 0;
  if (Read(&first, 1) == 1) mPeeked = first;
  return mPeeked;
}

void InputFile::Fail(int error) const {
  std::string const what = fmt::format("{}: cannot be read: {}", mName, std::generic_category().message(error));
  errno = error;
  throw hosting::UnusableInput(what);
}

LineReader::LineReader(InputFile file) : mFile(std::move(file)), mBuffer(kBlock) {}

bool LineReader::Next(std::string_view& line) {
  for (std::size_t length = 0;;) {  // of the line, as far as it was searched
    char const* const begin = mBuffer.data() + mBegin;
    auto const* const feed = static_cast<char const*>(std::memchr(begin + length, '\n', mEnd - mBegin - length));
    length = feed != nullptr ? static_cast<std::size_t>(feed - begin) : mEnd - mBegin;
    if (length > kLongestLine) {
      throw hosting::UnusableInput(fmt::format("{}:{}: expected a line of at most {} bytes, found a longer one", Name(),
                                               mLine + 1, kLongestLine));
    }
    if (feed == nullptr && Fill()) continue;
    if (feed == nullptr && length == 0) return false;
    line = {mBuffer.data() + mBegin, length};
    mLineEnds = feed != nullptr;
    std::size_t const taken = length + (mLineEnds ? 1 : 0);
    mBegin += taken;
    mOffset = std::exchange(mNextOffset, mNextOffset + taken);
    ++mLine;
    return true;
  }
}

bool LineReader::Fill() {
  if (mAtEnd) return false;
  std::memmove(mBuffer.data(), mBuffer.data() + mBegin, mEnd - mBegin);
  mEnd -= std::exchange(mBegin, 0);
  try {
    if (mEnd == mBuffer.size()) mBuffer.resize(2 * mEnd);
  } catch (std::bad_alloc const&) {
    mFile.Fail(ENOMEM);
  }
  std::size_t const got = mFile.Read(mBuffer.data() + mEnd, mBuffer.size() - mEnd);
  mEnd += got;
  mAtEnd = got == 0;
  return !mAtEnd;
}

}  // namespace recording
