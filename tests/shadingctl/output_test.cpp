// Output files: nothing is overwritten by mistake, nothing is left half written.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <map>
#include <string>

#include "tests/shadingctl/Program.h"

namespace shadingctl {
namespace {

namespace fs = std::filesystem;

// The content of every file below a directory, and the target of every link.
std::map<std::string, std::string> Contents(std::string const& directory) {
  std::map<std::string, std::string> contents;
  for (auto const& entry : fs::recursive_directory_iterator(directory)) {
    std::string const name = entry.path().lexically_relative(directory).string();
    contents[name] = entry.is_symlink()        ? "-> " + fs::read_symlink(entry).string()
                     : entry.is_regular_file() ? ReadFile(entry.path().string())
                                               : "";
  }
  return contents;
}

// Runs in a directory of its own, with a small recording `rec` and other names for its files.
class Files : public testing::Test {
 protected:
  Files() : mHome(fs::current_path()) {
    fs::current_path(mPlace.Path());
    fs::create_directory("rec");
    TemporaryDirectory const recording;
    WriteWorkedRecording(recording);
    fs::copy(recording.Path(), "rec");
    fs::create_symlink("rec/hall.csv", "link.csv");
    fs::create_hard_link("rec/frames.csv", "same.csv");
    fs::create_symlink("rec", "other");
    fs::create_symlink("not/there", "dangling");
    mPlace.Write("old", "precious\n");
  }
  ~Files() override { fs::current_path(mHome); }

  TemporaryDirectory const mPlace;
  fs::path const mHome;
};

TEST_F(Files, AnOutputThatIsAnInputOrAnotherOutputIsRefused) {
  fs::create_directories("device/eeprom");
  mPlace.Write("device/device.json", R"({"sensors": [{"sensorId": 0, "sensorIndex": 0, "device": 1}]})");
  mPlace.Write("device/eeprom/rear_camera_eeprom_data.bin", "bytes");
  ASSERT_EQ(RunTool("replay rec --quiet --dump preview --dump-dir dumps").exitCode, 0);
  std::string const dump = "dumps/data/vendor/camera_dump/preview_camera_0_frame_7_oishall.txt";
  fs::create_directory("twins");
  fs::create_symlink("hall.csv", "twins/calls.csv");
  ASSERT_EQ(RunTool("generate --frames 1 calls").exitCode, 0);
  std::string const commands[] = {
      "replay rec -o rec/hall.csv",
      "replay rec -o ./rec/../rec//frames.csv",
      "replay calls -o calls/calls.csv",
      "replay calls -o calls/recording.csv",
      "replay rec --log link.csv",
      "replay other -o same.csv",
      "replay rec -o old --log old",
      "replay rec -o new --log ./new",
      "generate made --reference ./made/../made//hall.csv",
      "replay rec --log -",
      "replay rec -o old >>old",
      "replay rec >>rec/hall.csv",
      "replay rec --device device -o device/device.json",
      "replay --library old -o old",
      "calibration --device device --camera 0 --raw device/eeprom/rear_camera_eeprom_data.bin",
      "calibration --camera 0 --raw -",
      "dumps dumps -o " + dump,
      "generate --force twins",
  };
  auto const before = Contents(".");
  std::string told;
  for (std::string const& command : commands) {
    Outcome const outcome = RunTool(command);
    EXPECT_EQ(outcome.exitCode, 3) << command;
    EXPECT_TRUE(Contents(".") == before) << command;
    told += command + "\n" + outcome.err;
  }
  ExpectGolden(told, "same-files.txt");
}

TEST_F(Files, OfAFullDiskKeepWhatTheyHeld) {
  if (RunScript("unshare -m true || unshare -Urm true").exitCode != 0) GTEST_SKIP() << "no mount namespace to be had";
  // Each runs in a file system of 64 KiB, in which the old recording and the old file leave less than it writes.
  char const* const commands[] = {
      "generate --force session",
      "generate --frames 3000 new/session",
      "replay --format json --quiet -o old",
      "replay --quiet -o new --format csv --log new.log",
      "replay --quiet -o ./old --log old.log",
  };
  for (std::string const command : commands) {
    Outcome const outcome = RunScript(
        "inside() {\n"
        "  mkdir -p disk && mount -t tmpfs -o size=64k tmpfs disk && cd disk || exit 99\n"
        "  shadingctl generate --frames 30 session >/dev/null && echo precious >old && find . | sort >../before\n"
        "  cat session/* old >../held\n"
        "  shadingctl " +
        command +
        " && exit 98\n"
        "  code=$?; find . | sort | cmp - ../before && cat session/* old | cmp - ../held || exit 97\n"
        "  exit $code\n"
        "}\n"
        "if [ -z \"$INSIDE\" ]; then INSIDE=1; export INSIDE\n"
        "  unshare -m true 2>/dev/null && exec unshare -m sh \"$0\"; exec unshare -Urm sh \"$0\"; fi\n"
        "inside");
    EXPECT_EQ(outcome.exitCode, 3) << command << outcome.out << outcome.err;
    EXPECT_NE(outcome.err.find(": cannot be written: No space left on device\n"), std::string::npos) << outcome.err;
  }
}

TEST_F(Files, WhatCannotBeFinishedLeavesNothing) {
  mPlace.Write("rec/hall.csv", ReadFile("rec/hall.csv") + "7,1,2\n");  // broken at its end
  auto const before = Contents(".");
  for (char const* const command :
       {"replay rec -o old", "replay rec --format csv -o new --log log", "replay rec --log old --quiet", "generate rec",
        "generate dangling/session", "replay --library old -o new", "calibration --library old -o new",
        "calibration --camera 6 --raw new >/dev/null"}) {
    EXPECT_NE(RunTool(command).exitCode, 0) << command;
    EXPECT_TRUE(Contents(".") == before) << command;
  }
  Outcome const tooLarge = RunScript("ulimit -f 8; shadingctl generate --frames 3000 new/session");
  EXPECT_EQ(tooLarge.exitCode, 3);
  EXPECT_EQ(tooLarge.err, "shadingctl: new/session/hall.csv: cannot be written: File too large\n");
  EXPECT_TRUE(Contents(".") == before);
  TemporaryDirectory const large;  // more rows than a pipe holds
  ASSERT_EQ(RunTool("generate --frames 3000 " + large.Path()).exitCode, 0);
  EXPECT_EQ(RunScript("{ shadingctl replay --log log --log-level 0 --format csv " + large.Path() +
                      "; echo $? >&2; } | head -n 1")
                .err,
            "141\n");
  EXPECT_TRUE(Contents(".") == before);
}

TEST_F(Files, InterruptedGenerationLeavesNothing) {
  auto const before = Contents(".");
  for (char const* const arguments :
       {"generate --frames 100000000 rec --force", "generate --frames 100000000 new/session"}) {
    StartedTool tool(arguments);
    while (Contents(".").size() < before.size() + 2 && tool.IsRunning()) usleep(1000);  // until it is at work
    tool.Signal(SIGINT);
    Outcome const outcome = tool.Finish();
    EXPECT_EQ(outcome.exitCode, 130);
    EXPECT_EQ(outcome.err, "shadingctl: interrupted; nothing was written\n");
    EXPECT_TRUE(Contents(".") == before) << arguments;
  }
}

TEST_F(Files, WhatAKilledRunLeavesIsRemovedByTheNextOne) {
  StartedTool running("generate --frames 100000000 session");
  while (running.IsRunning() && !fs::exists("session/.shadingctl-2")) usleep(1000);
  Outcome const beside = RunTool("replay rec --format csv --quiet -o session/rows.csv");
  EXPECT_EQ(beside.exitCode, 0) << beside.err;
  EXPECT_TRUE(fs::exists("session/.shadingctl-0") && fs::exists("session/.shadingctl-2")) << "they are in use";
  running.Signal(SIGKILL);
  running.Finish();
  EXPECT_EQ(Contents("session").size(), 4U) << "three of the killed run, and the rows";
  ASSERT_EQ(RunTool("generate --frames 1 session").exitCode, 0);
  EXPECT_EQ(Contents("session").size(), 4U) << "the recording and the rows";
  EXPECT_FALSE(fs::exists("session/.shadingctl-0"));
}

TEST_F(Files, TargetsAreReplacedAsTheyWereOrWrittenDirectly) {
  std::string const rows = RunTool("replay rec --format csv --quiet").out;
  std::string const replay = "shadingctl replay rec --format csv --quiet -o ";
  struct {
    char const* target;
    char const* where;  // the rows are found there
  } const plain[] = {{"-", nullptr},
                     {"new", "new"},
                     {"link.csv", "rec/hall.csv"},
                     {"dangling", "not/there"},
                     {"./-", "-"},
                     {"/dev/stdout | cat", nullptr},
                     {"/dev/null; cat new", nullptr}};
  fs::create_directory("not");
  TemporaryDirectory const recording;
  WriteWorkedRecording(recording);
  for (auto const& row : plain) {
    Outcome const outcome = RunScript(Replaced(replay, "rec", recording.Path()) + row.target);
    EXPECT_EQ(outcome.exitCode, 0) << row.target << outcome.err;
    EXPECT_EQ(row.where == nullptr ? outcome.out : ReadFile(row.where), rows) << row.target;
  }
  EXPECT_TRUE(fs::is_symlink("link.csv") && fs::is_symlink("dangling"));

  ASSERT_EQ(mkfifo("pipe", 0600), 0);
  EXPECT_EQ(RunScript("cat pipe & " + Replaced(replay, "rec", recording.Path()) + "pipe; wait").out, rows);
  ASSERT_EQ(chmod("old", 0640), 0);
  EXPECT_EQ(RunScript("umask 077; " + Replaced(replay, "rec", recording.Path()) + "old").exitCode, 0);
  EXPECT_EQ(fs::status("old").permissions(), static_cast<fs::perms>(0640));
  EXPECT_EQ(RunScript("umask 027; " + Replaced(replay, "rec", recording.Path()) + "young").exitCode, 0);
  EXPECT_EQ(fs::status("young").permissions(), static_cast<fs::perms>(0640));
  EXPECT_EQ(RunTool("replay -o rec").err, "shadingctl: rec: cannot be written: Is a directory\n");
}

TEST_F(Files, StandardStreamsThatAreClosedOrFull) {
  struct {
    char const* command;
    char const* complaint;
  } const rows[] = {
      {"shadingctl replay >&-", "standard output: cannot be written: Bad file descriptor"},
      {"shadingctl replay -o new >&-", "standard output: cannot be written: Bad file descriptor"},
      {"shadingctl --help >/dev/full", "standard output: cannot be written: No space left on device"},
      {"shadingctl dumps --help >/dev/full", "standard output: cannot be written: No space left on device"},
      {"shadingctl --version >/dev/full", "standard output: cannot be written: No space left on device"},
      {"shadingctl generate new-one >/dev/full", "standard output: cannot be written: No space left on device"},
  };
  for (auto const& row : rows) {
    Outcome const outcome = RunScript(row.command);
    EXPECT_EQ(outcome.exitCode, 3) << row.command;
    EXPECT_EQ(outcome.err, std::string("shadingctl: ") + row.complaint + "\n") << row.command;
  }
  EXPECT_FALSE(fs::exists("new") || fs::exists("new-one")) << "what fails has written nothing";
  EXPECT_EQ(RunScript("shadingctl replay --format csv 2>/dev/full").exitCode, 0) << "the rows are complete";
}

// A name that would clear the screen, begin a line of its own and be HTML.
TEST(HostileNames, AreEscapedOnEveryWayToATerminal) {
  TemporaryDirectory const place;
  char const* const commands[] = {"generate $n/s --reference $n/r",
                                  "replay $n/s --format json -o $n/j",
                                  "replay $n/s",
                                  "replay $n/s --summary",
                                  "explain $n/s",
                                  "fit $n/s --reference $n/r",
                                  "diff $n/j $n/j",
                                  "summarize $n/j $n/s",
                                  "report $n/s",
                                  "doctor $n/r",
                                  "dumps $n",
                                  "import $n/s -o $n/o"};
  for (std::string command : commands) {
    for (std::size_t at = 0; (at = command.find("$n", at)) != std::string::npos; at += 4)
      command.replace(at, 2, "\"$n\"");
    Outcome const outcome = RunScript("cd " + place.Path() +
                                      " && n=$(printf '\\033[2J<b>\\nForged') && mkdir -p \"$n\"; "
                                      "shadingctl " +
                                      command + " 2>&1");
    if (command.find("fit") != 0) {  // which names no file
      EXPECT_NE(outcome.out.find("\\x1b[2J<b>\\nForged"), std::string::npos) << command << "\n" << outcome.out;
    }
    EXPECT_EQ(outcome.out.find('\033'), std::string::npos) << command;
    EXPECT_EQ(outcome.out.find("\nForged"), std::string::npos) << command << "\n" << outcome.out;
    if (command.find("diff") == 0) {
      EXPECT_NE(outcome.out.find("A is `\\x1b[2J"), std::string::npos) << outcome.out;
    }
  }
}

}  // namespace
}  // namespace shadingctl
