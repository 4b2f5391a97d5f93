#include "tools/shadingctl/output/OutputFile.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <system_error>

#include "hosting/Interruption.h"
#include "hosting/UnusableInput.h"

namespace shadingctl {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kBlock = std::size_t{64} * 1024;  // handed to the system at once
constexpr unsigned int kPermissions = 0666;             // of a new file, less the process's mask
constexpr unsigned int kModeBits = 07777;               // of an old file, kept
constexpr int kMostLinks = 40;                          // as the system follows at most
constexpr char kOutput[] = "/proc/self/fd/1";
constexpr char kErrors[] = "/proc/self/fd/2";

hosting::FileDescriptor& KeptStandardOutput() {
  static hosting::FileDescriptor kept;
  return kept;
}

hosting::FileDescriptor StandardOutput() {
  int const kept = KeptStandardOutput().Number();
  return hosting::FileDescriptor(fcntl(kept >= 0 ? kept : STDOUT_FILENO, F_DUPFD_CLOEXEC, 0));
}

bool IsNamed(int file, int directory, std::string const& name) {
  struct stat own = {};
  struct stat named = {};
  return fstat(file, &own) == 0 && fstatat(directory, name.c_str(), &named, AT_SYMLINK_NOFOLLOW) == 0 &&
         own.st_dev == named.st_dev && own.st_ino == named.st_ino;
}

// The file that a chain of symbolic links ends at, whether it exists or not; `path` itself when it is no link.
std::string WithoutLinks(std::string const& path) {
  fs::path target(path);
  std::error_code failure;
  for (int i = 0; i < kMostLinks && fs::is_symlink(target, failure); ++i) {
    fs::path const next = fs::read_symlink(target, failure);
    target = next.is_absolute() ? next : target.parent_path() / next;
  }
  return target.string();
}

struct Named {
  std::string name;
  char const* role;
  fs::path path;
};

// Standard output and standard error by the names that the system has for them, others absolute and without links.
Named NameOf(std::string const& name, char const* role, char const* stream, char const* streamName) {
  if (name == kStandardOutput) return {streamName, role, stream};
  std::error_code failure;
  fs::path const path = fs::absolute(WithoutLinks(name));
  fs::path const canonical = fs::weakly_canonical(path, failure);
  return {name, role, failure ? path.lexically_normal() : canonical};
}

// Of files that do not exist the names are compared. A device loses nothing when it is named twice.
void RefuseIfSame(Named const& one, Named const& other) {
  std::error_code failure;
  if (fs::is_character_file(one.path, failure)) return;
  if (one.path != other.path && !fs::equivalent(one.path, other.path, failure)) return;
  throw hosting::UnusableInput(fmt::format("{}: is the same file as {}, {}", one.name, other.name, other.role));
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
  fs::path const path(target);
  std::string const directory = path.has_parent_path() ? path.parent_path().string() : ".";
  mTarget = path.filename().string();
  mDirectory = hosting::FileDescriptor(open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!mDirectory) Fail(errno);
  if (mTarget.empty()) Fail(EISDIR);
  if (exists && faccessat(mDirectory.Number(), mTarget.c_str(), W_OK, AT_EACCESS) != 0) Fail(errno);
  OpenTemporary();
  if (exists && fchmod(mFile.Number(), mode & kModeBits) != 0) {
    int const error = errno;
    unlinkat(mDirectory.Number(), mTemporary.c_str(), 0);  // no destructor follows a constructor that throws
    Fail(error);
  }
}

// A process holds the lock of its file until that has its name. What a killed one has left is locked by nobody, and is
// removed by the next one that comes to its name.
void OutputFile::OpenTemporary() {
  int const directory = mDirectory.Number();
  for (unsigned int attempt = 0; !mFile; ++attempt) {
    std::string const name = fmt::format(".shadingctl-{}", attempt);
    hosting::FileDescriptor const left(openat(directory, name.c_str(), O_WRONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if (left && flock(left.Number(), LOCK_EX | LOCK_NB) == 0 && IsNamed(left.Number(), directory, name)) {
      unlinkat(directory, name.c_str(), 0);
    }
    mFile =
        hosting::FileDescriptor(openat(directory, name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kPermissions));
    if (!mFile && errno != EEXIST) Fail(errno);
    if (!mFile) continue;
    // Another process may have taken it for one that was left, before it was locked.
    bool const isTaken = flock(mFile.Number(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
    if (isTaken || !IsNamed(mFile.Number(), directory, name)) {
      mFile = hosting::FileDescriptor();
    } else {
      mTemporary = name;
    }
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
  // Some file systems report a failed write when a descriptor is closed; the lock stays with the other one.
  if (IsHeldBack() && !hosting::FileDescriptor(fcntl(mFile.Number(), F_DUPFD_CLOEXEC, 0)).Close()) Fail(errno);
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

void RefuseOverwriting(std::vector<std::string> const& inputs, std::vector<std::string> const& outputs) {
  std::vector<Named> used;
  for (std::string const& input : inputs) {
    if (input.empty()) continue;
    used.push_back(NameOf(input, "which is read", "/proc/self/fd/0", "standard input"));
  }
  for (std::string const& path : outputs) {
    if (path.empty()) continue;
    Named const output = NameOf(path, "which is written too", kOutput, "standard output");
    for (Named const& other : used) RefuseIfSame(output, other);
    used.push_back(output);
  }
  // Where standard output and standard error are files, the shell has opened them; both may be the same one.
  for (char const* const stream : {kOutput, kErrors}) {
    std::error_code failure;
    if (!fs::is_regular_file(stream, failure)) continue;
    Named const redirected = {stream == kOutput ? "standard output" : "standard error", "", stream};
    for (Named const& other : used) {
      if (other.path != kOutput) RefuseIfSame(redirected, other);
    }
  }
}

}  // namespace shadingctl
