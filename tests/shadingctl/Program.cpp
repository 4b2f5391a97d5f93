#include "tests/shadingctl/Program.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <stdexcept>

namespace shadingctl {
namespace {

// Of a line of CSV, without quotes.
std::vector<std::string> Cells(std::string const& line) {
  std::vector<std::string> cells(1);
  bool isQuoted = false;
  for (char const character : line) {
    if (character == '"') {
      isQuoted = !isQuoted;
    } else if (character == ',' && !isQuoted) {
      cells.emplace_back();
    } else {
      cells.back() += character;
    }
  }
  return cells;
}

// Skips all tests of a program that cannot start. The first word is what ctest looks for.
class Startable : public testing::Environment {
  void SetUp() override {
    if (access("/proc/self/exe", F_OK) == 0) return;
    GTEST_SKIP() << "[  SKIPPED ] /proc is not mounted, by which programs find their libraries";
  }
};
[[maybe_unused]] testing::Environment* const startable = testing::AddGlobalTestEnvironment(new Startable);

std::string const kEnvironment = "env -u VCAM_DEVICE PATH='" PROGRAM_DIRECTORY "':\"$PATH\" ";

}  // namespace

TemporaryDirectory::TemporaryDirectory() {
  std::string path = (std::filesystem::temp_directory_path() / "shadingctl-XXXXXX").string();
  if (mkdtemp(path.data()) == nullptr) throw std::runtime_error("no temporary directory");
  mPath = path;
}

TemporaryDirectory::~TemporaryDirectory() {
  std::error_code error;
  std::filesystem::remove_all(mPath, error);
}

void TemporaryDirectory::Write(std::string const& name, std::string const& text) const {
  std::ofstream(mPath + "/" + name, std::ios::binary) << text;
}

std::string ReadFile(std::string const& path) {
  std::ifstream const file(path, std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

void ExpectGolden(std::string const& text, std::string const& name) {
  std::string const path = GOLDEN "/" + name;
  if (std::getenv("UPDATE_GOLDEN") != nullptr) {
    std::ofstream(path, std::ios::binary) << text;
    ADD_FAILURE() << path << " is renewed: read the difference before it is committed";
    return;
  }
  std::vector<std::string> const golden = Lines(ReadFile(path));
  std::vector<std::string> const now = Lines(text);
  for (std::size_t i = 0; i < std::min(golden.size(), now.size()); ++i) {
    ASSERT_EQ(now[i], golden[i]) << path << ":" << i + 1;
  }
  EXPECT_EQ(now.size(), golden.size()) << path;
}

std::vector<std::string> Lines(std::string const& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

std::vector<std::map<std::string, std::string>> Rows(std::string const& csv) {
  std::vector<std::map<std::string, std::string>> rows;
  std::vector<std::string> names;
  for (std::string const& line : Lines(csv)) {
    std::vector<std::string> const cells = Cells(line);
    if (names.empty()) {
      names = cells;
    } else if (cells.size() != names.size()) {
      ADD_FAILURE() << "another number of cells than of columns: " << line;
    } else {
      rows.emplace_back();
      for (std::size_t i = 0; i < cells.size(); ++i) rows.back()[names[i]] = cells[i];
    }
  }
  return rows;
}

std::string Columns(std::string const& csv, std::string const& names) {
  std::string text;
  for (auto const& row : Rows(csv)) {
    std::string line;
    for (std::string const& name : Cells(names)) line += "," + row.at(name);
    text += line.substr(1) + "\n";
  }
  return text;
}

std::string LineOf(std::string const& text, std::string const& key) {
  for (std::string const& line : Lines(text)) {
    if (line.compare(std::min(line.find_first_not_of(' '), line.size()), key.size(), key) == 0) return line;
  }
  return "";
}

std::string WithoutDurations(std::string const& summary) {
  std::string rest;
  for (std::string const& line : Lines(summary)) {
    bool const isDuration = line.rfind("Library ", 0) == 0 || line.rfind("Replay ", 0) == 0 ||
                            line.find("at log level 0") != std::string::npos;
    if (!isDuration) rest += line + "\n";
  }
  return rest;
}

std::string WithoutNumbers(std::string const& text) {
  return std::regex_replace(text, std::regex("[0-9]+([.][0-9]+)?"), "#");
}

std::string Replaced(std::string text, std::string const& from, std::string const& to) {
  for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
    text.replace(at, from.size(), to);
  }
  return text;
}

Outcome RunTool(std::string const& arguments) { return RunScript("exec shadingctl " + arguments); }

Outcome RunScript(std::string const& script) {
  TemporaryDirectory const directory;
  directory.Write("script", script + "\n");
  std::string const command = kEnvironment + ("sh '" + directory.Path()) + "/script' >'" + directory.Path() +
                              "/out' 2>'" + directory.Path() + "/err'";
  int const status = std::system(command.c_str());
  Outcome outcome;
  if (WIFEXITED(status)) outcome.exitCode = WEXITSTATUS(status);
  outcome.out = ReadFile(directory.Path() + "/out");
  outcome.err = ReadFile(directory.Path() + "/err");
  return outcome;
}

std::string const& MountRefusal() {
  static std::string const refusal = [] {
    std::string const told = RunTool("calibration --format csv").err;
    return told.find(": no private mount namespace (") == std::string::npos ? std::string() : told;
  }();
  return refusal;
}

StartedTool::StartedTool(std::string const& arguments) {
  int ends[2];
  if (pipe(ends) != 0) throw std::runtime_error("no pipe");
  std::string const command = kEnvironment + ("shadingctl " + arguments) + " 2>'" + mDirectory.Path() + "/err'";
  mProcess = fork();
  if (mProcess == 0) {
    for (int const heard : {SIGINT, SIGTERM, SIGHUP}) signal(heard, SIG_DFL);  // a job in the background ignores some
    dup2(ends[1], STDOUT_FILENO);
    close(ends[0]);
    close(ends[1]);
    execl("/bin/sh", "sh", "-c", ("exec " + command).c_str(), nullptr);
    _exit(127);
  }
  close(ends[1]);
  mPipe = ends[0];
}

StartedTool::~StartedTool() {
  close(mPipe);
  if (mProcess > 0) Finish();
}

void StartedTool::Await(std::size_t bytes) {
  char block[4096];
  while (mOutcome.out.size() < bytes) {
    ssize_t const got = read(mPipe, block, std::min(bytes - mOutcome.out.size(), sizeof block));
    if (got <= 0) return;
    mOutcome.out.append(block, static_cast<std::size_t>(got));
  }
}

void StartedTool::Signal(int signal) const { kill(mProcess, signal); }

bool StartedTool::IsRunning() const {
  siginfo_t info = {};
  return waitid(P_PID, static_cast<id_t>(mProcess), &info, WEXITED | WNOHANG | WNOWAIT) == 0 && info.si_pid == 0;
}

Outcome StartedTool::Finish() {
  Await(std::string::npos);
  int status = 0;
  waitpid(mProcess, &status, 0);
  mProcess = -1;
  if (WIFEXITED(status)) mOutcome.exitCode = WEXITSTATUS(status);
  mOutcome.err = ReadFile(mDirectory.Path() + "/err");
  return mOutcome;
}

void WriteWorkedRecording(TemporaryDirectory const& directory) {
  directory.Write("frames.csv",
                  "frame,timestamp_ns,exposure_ns,rolling_shutter_ns\n7,1000000000000,10000000,20000000\n");
  std::ostringstream hall;
  hall << "frame,timestamp_ns,hall_x,hall_y\n";
  for (long k = -60; k < 60; ++k) hall << "7," << 999984402000 + k * 1000000 << ',' << k * k << ',' << -k << '\n';
  directory.Write("hall.csv", hall.str());
}

}  // namespace shadingctl
