#include "tools/shadingctl/output/OutputFile.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <system_error>

#include "hosting/Interruption.h"
#include "hosting/UnusableInput.h"
#include "tools/shadingctl/output/FileIdentity.h"

namespace shadingctl {
namespace {

constexpr std::size_t kBlock = std::size_t{64} * 1024;  // handed to the system at once
constexpr unsigned int kPermissions = 0666;             // of a new file, less the process's mask
constexpr unsigned int kModeBits = 07777;               // of an old file, kept

hosting::FileDescriptor& KeptStandardOutput() {
  static hosting::FileDescriptor kept;
  return kept;
}

hosting::FileDescriptor StandardOutput() {
  int const kept = KeptStandardOutput().Number();
  return hosting::FileDescriptor(fcntl(kept >= 0 ? kept : STDOUT_FILENO, F_DUPFD_CLOEXEC, 0));
}

}  // namespace

void KeepStandardOutput() { KeptStandardOutput() = StandardOutput(); }

OutputFile::OutputFile(std::string const& path) : mName(path) {
  mBuffer.reserve(kBlock);
  struct stat status = {};
  if (path == kStandardOutput) {
    mName = "standard output";
    mIsStandardOutput = true;
    mFile = StandardOutput();
    if (!mFile) Fail(errno);
  } else if (stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) {
    mFile = hosting::FileDescriptor(open(path.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY));
    if (!mFile && errno == EINTR) throw hosting::Interrupted();  // a pipe without a reader
    if (!mFile) Fail(errno);
  } else {
    OpenBesideTarget(WithoutLinks(path), status.st_nlink != 0, status.st_mode);
  }
  mIsTerminal = isatty(mFile.Number()) == 1;
}

void OutputFile::OpenBesideTarget(std::string const& target, bool exists, unsigned int mode) {
  std::filesystem::path const path(target);
  std::string const directory = path.has_parent_path() ? path.parent_path().string() : ".";
  mTarget = path.filename().string();
  mDirectory = hosting::FileDescriptor(open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!mDirectory) Fail(errno);
  if (mTarget.empty()) Fail(EISDIR);
  if (exists && faccessat(mDirectory.Number(), mTarget.c_str(), W_OK, AT_EACCESS) != 0) Fail(errno);
  for (unsigned int attempt = 0; !mFile; ++attempt) {
    std::string const name = fmt::format(".shadingctl-{}-{}", getpid(), attempt);
    mFile = hosting::FileDescriptor(
        openat(mDirectory.Number(), name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kPermissions));
    if (mFile) mTemporary = name;
    if (!mFile && errno != EEXIST) Fail(errno);
  }
  if (exists && fchmod(mFile.Number(), mode & kModeBits) != 0) {
    int const error = errno;
    unlinkat(mDirectory.Number(), mTemporary.c_str(), 0);  // no destructor follows a constructor that throws
    Fail(error);
  }
}

OutputFile::~OutputFile() {
  if (!mTemporary.empty()) unlinkat(mDirectory.Number(), mTemporary.c_str(), 0);
}

std::optional<std::size_t> OutputFile::TerminalWidth() const {
  winsize size = {};
  if (!mIsTerminal || ioctl(mFile.Number(), TIOCGWINSZ, &size) != 0 || size.ws_col == 0) return std::nullopt;
  return size.ws_col;
}

void OutputFile::Write(std::string_view text) {
  mBuffer += text;
  if (mIsTerminal || mBuffer.size() >= kBlock) WriteOut();
}

void OutputFile::WriteQuietly(std::string_view text) noexcept {
  if (mKeptError != 0) return;
  try {
    Write(text);
  } catch (std::exception const&) {
    mKeptError = errno;
  }
}

void OutputFile::WriteOut() {
  std::string_view rest = mBuffer;
  while (!rest.empty()) {
    ssize_t const written = write(mFile.Number(), rest.data(), rest.size());
    if (written >= 0) {
      rest.remove_prefix(static_cast<std::size_t>(written));
    } else if (errno == EAGAIN) {
      pollfd wanted = {mFile.Number(), POLLOUT, 0};
      poll(&wanted, 1, -1);
    } else if (errno != EINTR || hosting::IsInterruptedAgain()) {
      int const error = errno;
      mBuffer.clear();
      Fail(error);
    }
  }
  mBuffer.clear();
}

void OutputFile::FinishAll(std::initializer_list<OutputFile*> files) {
  for (OutputFile* const file : files) {
    if (file != nullptr) file->Complete();
  }
  for (OutputFile* const file : files) {
    if (file != nullptr) file->Publish();
  }
}

void OutputFile::Complete() {
  if (mKeptError != 0) Fail(mKeptError);
  WriteOut();
  if (IsHeldBack() && mFile && !mFile.Close()) Fail(errno);
}

void OutputFile::Publish() {
  if (mTemporary.empty()) return;
  if (renameat(mDirectory.Number(), mTemporary.c_str(), mDirectory.Number(), mTarget.c_str()) != 0) Fail(errno);
  mTemporary.clear();
}

void OutputFile::Fail(int error) const {
  if (mIsStandardOutput && error == EPIPE) throw ReaderIsGone();
  if (error == EINTR) throw hosting::Interrupted();
  throw hosting::UnusableInput(fmt::format("{}: cannot be written: {}", mName, std::generic_category().message(error)));
}

}  // namespace shadingctl
