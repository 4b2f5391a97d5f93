#include "hosting/HostLibrary.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <fmt/format.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <exception>
#include <filesystem>
#include <string_view>
#include <system_error>

#include "hosting/ElfImage.h"
#include "hosting/FileDescriptor.h"
#include "hosting/Interruption.h"
#include "hosting/UnusableInput.h"

namespace hosting {

namespace {

// A path without a slash would be searched for in the system's directories.
std::string FileOf(std::string const& path) { return path.find('/') == std::string::npos ? "./" + path : path; }

bool IsLoaded(void const* address) {
  Dl_info info = {};
  return address != nullptr && dladdr(address, &info) != 0;
}

// The host calls through the object's virtual table: calling through a missing one would crash.
bool HasTable(VeyraShadingUtil const* object) {
  constexpr int kEntries = 13;
  void const* const* const table = *reinterpret_cast<void const* const* const*>(object);
  if (!IsLoaded(table)) return false;
  return std::all_of(table, table + kEntries, IsLoaded);
}

constexpr std::chrono::seconds kPatience{5};  // a library is loaded in milliseconds
constexpr int kTickMs = 10;                   // between two looks at the process, when it says nothing
constexpr std::size_t kKeptBytes = 1024;      // of the problem, and of the output
constexpr char kLoaded[] = "+";               // the answer; a problem follows a minus sign

// Runs in the child process.
[[noreturn]] void LoadAndAnswer(std::string const& path, int answerTo, int writeTo) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  int const nothing = open("/dev/null", O_RDONLY | O_CLOEXEC);  // what is typed or piped is the parent's
  dup2(nothing, STDIN_FILENO);
  dup2(writeTo, STDOUT_FILENO);
  dup2(writeTo, STDERR_FILENO);
  std::string answer = kLoaded;
  try {
    LoadShadingLibrary(path);
  } catch (std::exception const& error) {
    std::string_view problem = error.what();
    if (problem.substr(0, path.size() + 2) == path + ": ") problem.remove_prefix(path.size() + 2);
    answer = "-" + std::string(problem.substr(0, kKeptBytes));
  }
  std::fflush(nullptr);
  bool const isTold = write(answerTo, answer.data(), answer.size()) == static_cast<ssize_t>(answer.size());
  _exit(isTold ? 0 : 1);
}

// Reads once, so that a library that writes without end does not hold the parent.
void Take(int from, std::string& text) {
  char buffer[4096];
  ssize_t const count = read(from, buffer, sizeof buffer);
  if (count > 0) text.append(buffer, std::min(static_cast<std::size_t>(count), kKeptBytes - text.size()));
}

std::string NotTried() { return fmt::format("not tried: {}", std::strerror(errno)); }

std::string ProblemOf(std::string const& answer, bool isLate, int status) {
  if (!answer.empty()) return answer == kLoaded ? std::string() : answer.substr(1);
  if (isLate) return fmt::format("no answer within {} s", kPatience.count());
  if (WIFSIGNALED(status)) return fmt::format("ended by signal {} ({})", WTERMSIG(status), strsignal(WTERMSIG(status)));
  return fmt::format("ends its host (exit code {})", WEXITSTATUS(status));
}

}  // namespace

std::string DefaultLibraryPath() {
  std::error_code error;
  auto const program = std::filesystem::read_symlink("/proc/self/exe", error);
  if (error) throw UnusableInput(fmt::format("/proc/self/exe: cannot be read: {}", error.message()));
  return (program.parent_path().parent_path() / LIBRARY_DIRECTORY / "libvcam_shadingutil.so").string();
}

VeyraShadingUtil& LoadShadingLibrary(std::string const& path) {
  std::string const file = FileOf(path);
  ElfImage::ExpectLoadable(path);
  void* const library = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) throw UnusableInput(fmt::format("{}: cannot be loaded: {}", path, dlerror()));
  void* const symbol = dlsym(library, "createInstance");
  if (symbol == nullptr) throw UnusableInput(fmt::format("{}: is no shading library: {}", path, dlerror()));
  auto const createInstance = reinterpret_cast<VeyraShadingUtil* (*)()>(symbol);
  VeyraShadingUtil* const object = createInstance();
  if (object == nullptr) throw UnusableInput(fmt::format("{}: createInstance hands out no object", path));
  if (!HasTable(object)) {
    throw UnusableInput(fmt::format("{}: createInstance hands out an object without a table of operations", path));
  }
  return *object;
}

int* FindSwitch(std::string const& path, char const* name) {
  void* const library = dlopen(FileOf(path).c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NOLOAD);
  return library == nullptr ? nullptr : static_cast<int*>(dlsym(library, name));
}

LoadTrial TryToLoad(std::string const& path) {
  int answerEnds[2];
  int outputEnds[2];
  if (pipe2(answerEnds, O_CLOEXEC | O_NONBLOCK) != 0) return {NotTried(), {}};
  FileDescriptor const answerFrom(answerEnds[0]);
  FileDescriptor answerTo(answerEnds[1]);
  if (pipe2(outputEnds, O_CLOEXEC) != 0) return {NotTried(), {}};
  FileDescriptor const outputFrom(outputEnds[0]);
  FileDescriptor outputTo(outputEnds[1]);
  fcntl(outputEnds[0], F_SETFL, O_NONBLOCK);
  std::fflush(nullptr);
  pid_t const child = fork();
  if (child < 0) return {NotTried(), {}};
  setpgid(child, child);  // in both processes, as either may be the first one to need it
  if (child == 0) LoadAndAnswer(path, answerEnds[1], outputEnds[1]);
  answerTo = FileDescriptor();
  outputTo = FileDescriptor();

  auto const deadline = std::chrono::steady_clock::now() + kPatience;
  std::string answer;
  std::string output;
  bool isLate = false;
  for (bool isOver = false; !isOver && !isLate && InterruptedBy() == 0;) {
    pollfd wanted[] = {{answerEnds[0], POLLIN, 0}, {outputEnds[0], POLLIN, 0}};
    poll(wanted, 2, kTickMs);
    if (((wanted[0].revents | wanted[1].revents) & POLLHUP) != 0) poll(nullptr, 0, 1);  // it is about to end
    siginfo_t info = {};
    bool const hasEnded =
        waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | WNOHANG | WNOWAIT) == 0 && info.si_pid == child;
    Take(answerEnds[0], answer);
    Take(outputEnds[0], output);
    isOver = hasEnded || answer == kLoaded;
    isLate = std::chrono::steady_clock::now() >= deadline;
  }
  kill(-child, SIGKILL);  // it keeps its number, and so the group's, until it is waited for
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  EndIfInterrupted();
  return {ProblemOf(answer, isLate, status), output};
}

}  // namespace hosting
