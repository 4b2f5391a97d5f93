#include "recording/InputFile.h"

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

}  // namespace recording
