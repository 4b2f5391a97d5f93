#include "hosting/LoadTrial.h"

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
#include <string_view>

#include "hosting/FileDescriptor.h"
#include "hosting/HostLibrary.h"
#include "hosting/Interruption.h"

namespace hosting {
namespace {

constexpr std::chrono::seconds kPatience{5};  // a library is loaded in milliseconds
constexpr int kTickMs = 10;                   // between two looks at the process, when it says nothing
constexpr std::size_t kKeptBytes = 1024;      // of each of its texts
constexpr char kLoaded = '+';                 // begins the answer; a problem follows any other one

// Runs in the child process.
[[noreturn]] void LoadAndAnswer(std::string const& path, int answerTo, int writeTo) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  int const nothing = open("/dev/null", O_RDONLY | O_CLOEXEC);  // what is typed or piped is the parent's
  dup2(nothing, STDIN_FILENO);
  dup2(writeTo, STDOUT_FILENO);
  dup2(writeTo, STDERR_FILENO);
  std::string answer(1, kLoaded);
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

// A process with its group, killed and waited for at destruction.
class TrialProcess {
 public:
  explicit TrialProcess(std::string const& path) {
    int answer[2];
    int output[2];
    if (pipe2(answer, O_CLOEXEC) != 0) return;
    mAnswer = FileDescriptor(answer[0]);
    FileDescriptor const answerTo(answer[1]);
    if (pipe2(output, O_CLOEXEC) != 0) return;
    mOutput = FileDescriptor(output[0]);
    FileDescriptor const writeTo(output[1]);
    for (int const end : {answer[0], output[0]}) fcntl(end, F_SETFL, O_NONBLOCK);
    std::fflush(nullptr);
    mChild = fork();
    if (mChild == 0) {
      setpgid(0, 0);
      LoadAndAnswer(path, answer[1], output[1]);
    }
    if (mChild > 0) setpgid(mChild, mChild);  // in both, as either may be the first one to need it
  }
  ~TrialProcess() { End(); }
  TrialProcess(TrialProcess const&) = delete;
  TrialProcess& operator=(TrialProcess const&) = delete;

  bool HasStarted() const { return mChild > 0; }

  // Waits a moment for output, an answer or the end, and answers whether it has come to one of the latter two.
  bool Advance() {
    pollfd wanted[] = {{mAnswer.Number(), POLLIN, 0}, {mOutput.Number(), POLLIN, 0}};
    poll(wanted, 2, kTickMs);
    if (((wanted[0].revents | wanted[1].revents) & POLLHUP) != 0) poll(nullptr, 0, 1);  // it is about to end
    siginfo_t info = {};
    bool const hasEnded =
        waitid(P_PID, static_cast<id_t>(mChild), &info, WEXITED | WNOHANG | WNOWAIT) == 0 && info.si_pid == mChild;
    Take(mAnswer, mAnswerText);
    Take(mOutput, mOutputText);
    return hasEnded || (!mAnswerText.empty() && mAnswerText.front() == kLoaded);
  }

  // Kills the group and answers the status of the process, which keeps its number, and so the group's, until here.
  int End() {
    if (mChild <= 0) return mStatus;
    kill(-mChild, SIGKILL);
    while (waitpid(mChild, &mStatus, 0) < 0 && errno == EINTR) {
    }
    mChild = -1;
    return mStatus;
  }

  std::string const& Answer() const { return mAnswerText; }
  std::string const& Output() const { return mOutputText; }

 private:
  // One read at a time: a library that writes without end does not keep the parent.
  static void Take(FileDescriptor const& from, std::string& text) {
    char buffer[4096];
    ssize_t const count = read(from.Number(), buffer, sizeof buffer);
    if (count <= 0) return;
    text.append(buffer, std::min(static_cast<std::size_t>(count), kKeptBytes - text.size()));
  }

  FileDescriptor mAnswer;
  FileDescriptor mOutput;
  pid_t mChild = -1;
  int mStatus = 0;
  std::string mAnswerText;
  std::string mOutputText;
};

std::string ProblemOf(std::string const& answer, bool isLate, int status) {
  if (!answer.empty()) return answer.front() == kLoaded ? std::string() : answer.substr(1);
  if (isLate) return fmt::format("no answer within {} s", kPatience.count());
  if (WIFSIGNALED(status)) return fmt::format("ended by signal {} ({})", WTERMSIG(status), strsignal(WTERMSIG(status)));
  return fmt::format("ends its host (exit code {})", WEXITSTATUS(status));
}

}  // namespace

LoadTrial TryToLoad(std::string const& path) {
  auto const deadline = std::chrono::steady_clock::now() + kPatience;
  TrialProcess process(path);
  if (!process.HasStarted()) return {fmt::format("not tried: {}", std::strerror(errno)), {}};
  bool isLate = false;
  while (!process.Advance() && !isLate) {
    if (InterruptedBy() != 0) throw Interrupted();
    isLate = std::chrono::steady_clock::now() >= deadline;
  }
  int const status = process.End();
  return {ProblemOf(process.Answer(), isLate, status), process.Output()};
}

}  // namespace hosting
