#include "recording/InputStream.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "hosting/FileDescriptor.h"
#include "hosting/Interruption.h"

namespace recording {
namespace {

struct Input {
  hosting::FileDescriptor owned;  // none of standard input
  int file;
  bool mustWait;
};

ssize_t Read(void* cookie, char* buffer, std::size_t size) {
  auto const& input = *static_cast<Input*>(cookie);
  try {
    for (;;) {
      if (input.mustWait) hosting::WaitForInput(input.file);
      ssize_t const got = read(input.file, buffer, size);
      if (got >= 0 || (errno != EINTR && errno != EAGAIN)) return got;
    }
  } catch (hosting::Interrupted const&) {  // which cannot pass through the C library
    errno = EINTR;
    return -1;
  }
}

int Close(void* cookie) {
  delete static_cast<Input*>(cookie);
  return 0;
}

}  // namespace

InputStream OpenInput(std::string const& path) {
  hosting::FileDescriptor owned;
  // Opening must not wait for a pipe's writer: only reading can be interrupted.
  if (path != "-") owned = hosting::FileDescriptor(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
  int const file = path == "-" ? STDIN_FILENO : owned.Number();
  struct stat status = {};
  if (file < 0 || fstat(file, &status) != 0) return {nullptr, &std::fclose};
  auto input = std::make_unique<Input>(Input{std::move(owned), file, !S_ISREG(status.st_mode)});
  std::FILE* const stream = fopencookie(input.get(), "r", {&Read, nullptr, nullptr, &Close});
  if (stream != nullptr) input.release();
  return {stream, &std::fclose};
}

}  // namespace recording
