#include "tools/shadingctl/doctor/LoadTrial.h"

#include <fmt/format.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <exception>
#include <string_view>

#include "hosting/HostLibrary.h"

namespace shadingctl {
namespace {

constexpr char const* kCheck = "load";
constexpr unsigned int kPatienceSeconds = 10;  // a library is loaded in milliseconds

// Runs in the child process. Empty on success.
[[noreturn]] void LoadAndAnswer(std::string const& path, int answerTo) {
  alarm(kPatienceSeconds);
  std::string answer;
  try {
    hosting::LoadShadingLibrary(path);
  } catch (std::exception const& error) {
    answer = error.what();
  }
  bool const isTold = write(answerTo, answer.data(), answer.size()) == static_cast<ssize_t>(answer.size());
  std::fflush(nullptr);
  _exit(answer.empty() && isTold ? 0 : 1);
}

std::string ReadAll(int from) {
  std::string text;
  char buffer[512];
  for (;;) {
    ssize_t const count = read(from, buffer, sizeof buffer);
    if (count > 0) text.append(buffer, static_cast<std::size_t>(count));
    if (count == 0 || (count < 0 && errno != EINTR)) return text;
  }
}

}  // namespace

Finding TryToLoad(std::string const& path) {
  int ends[2];
  if (pipe(ends) != 0) return {kCheck, Judgement::kFault, fmt::format("not tried: {}", std::strerror(errno))};
  std::fflush(nullptr);
  pid_t const child = fork();
  if (child == 0) {
    close(ends[0]);
    LoadAndAnswer(path, ends[1]);
  }
  close(ends[1]);
  std::string const answer = ReadAll(ends[0]);
  close(ends[0]);
  int status = 0;
  if (child < 0 || waitpid(child, &status, 0) != child) {
    return {kCheck, Judgement::kFault, fmt::format("not tried: {}", std::strerror(errno))};
  }
  if (WIFSIGNALED(status) && WTERMSIG(status) == SIGALRM) {
    return {kCheck, Judgement::kFault, fmt::format("no answer within {} s", kPatienceSeconds)};
  }
  if (WIFSIGNALED(status)) {
    return {kCheck, Judgement::kFault,
            fmt::format("ended by signal {} ({})", WTERMSIG(status), strsignal(WTERMSIG(status)))};
  }
  if (WEXITSTATUS(status) != 0) return {kCheck, Judgement::kFault, answer.empty() ? "ends the process" : answer};
  return {kCheck, Judgement::kSound, "createInstance hands out its object"};
}

}  // namespace shadingctl
