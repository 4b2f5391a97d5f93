// Replays that end early: interrupted, or of a recording with an error in the middle.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>

#include "tests/shadingctl/Program.h"

namespace shadingctl {
namespace {

namespace fs = std::filesystem;

TEST(Ending, AnInterruptedReplayShowsWhatWasPlayed) {
  TemporaryDirectory const recording;  // more rows than the pipe to the test holds: no replay can end before it is read
  ASSERT_EQ(RunTool("generate --frames 4000 --hall-rate 300 " + recording.Path()).exitCode, 0);
  struct {
    char const* options;
    int signal;
    int exitCode;
    bool showsSummary;  // on standard error or in the object
  } const rows[] = {
      {"--format json", SIGINT, 130, false},
      {"--format csv", SIGINT, 130, true},
      {"--format csv", SIGTERM, 143, true},
      {"--format csv --quiet", SIGINT, 130, false},
  };
  for (auto const& row : rows) {
    StartedTool tool("replay --log-level 0 " + (row.options + (" " + recording.Path())));
    tool.Await(1000);
    tool.Signal(row.signal);
    Outcome const outcome = tool.Finish();
    EXPECT_EQ(outcome.exitCode, row.exitCode) << row.options;
    EXPECT_EQ(outcome.out.back(), '\n') << "the last row is whole";
    EXPECT_EQ(outcome.err.find("Frames     ") != std::string::npos, row.showsSummary) << outcome.err;
    EXPECT_NE(outcome.err.find("shadingctl: interrupted\n"), std::string::npos) << outcome.err;
    if (outcome.out.front() != '{') continue;
    auto const json = nlohmann::json::parse(outcome.out);
    EXPECT_EQ(json["complete"], false);
    EXPECT_EQ(json["error"], "interrupted");
    EXPECT_EQ(json["summary"]["cameras"][0]["frames"], json["frames"].size());
    EXPECT_LT(json["frames"].size(), 3000U);
  }
}

class SmallRecording : public testing::Test {
 protected:
  SmallRecording() { WriteWorkedRecording(mRecording); }

  std::string Path(char const* name) const { return mRecording.Path() + "/" + name; }

  TemporaryDirectory const mRecording;
};

TEST_F(SmallRecording, AWaitForAPipeCanBeInterrupted) {
  fs::remove(Path("frames.csv"));
  std::string const pipe = Path("frames.csv");
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  struct {
    std::string command;
    char const* begin;  // of the input
  } const rows[] = {
      {"replay --format json " + mRecording.Path(), "frame,"},
      {"report " + pipe, "{"},
      {"trace " + pipe, "{"},
      {"diff " + Path("hall.csv") + " " + pipe, "{"},
      {"diff " + pipe + " " + Path("hall.csv"), "{"},
      {"diff " + pipe + " " + Path("hall.csv"), "frame,"},
      {"summarize " + pipe, "{"},
      {"doctor " + pipe,
       "\x7f"
       "ELF"},
  };
  mRecording.Write("hall.csv", "frame,timestamp_ns,hall_x,hall_y\n7,1,2,3\n");  // a result for diff as well
  for (auto const& row : rows) {
    StartedTool tool(row.command + " -o " + Path("result"));
    int writer = -1;
    while (writer < 0 && tool.IsRunning()) writer = open(pipe.c_str(), O_WRONLY | O_NONBLOCK);
    std::size_t const size = std::strlen(row.begin);
    ASSERT_EQ(write(writer, row.begin, size), static_cast<ssize_t>(size)) << "there is a reader, which waits for more";
    tool.Signal(SIGINT);
    Outcome const outcome = tool.Finish();
    close(writer);
    EXPECT_EQ(outcome.exitCode, 130) << row.command;
    EXPECT_EQ(outcome.err, "shadingctl: interrupted; nothing was written\n") << row.command;
    EXPECT_FALSE(fs::exists(Path("result"))) << row.command;
  }
}

TEST_F(SmallRecording, ThatIsBrokenShowsWhatCameBefore) {
  mRecording.Write("frames.csv", ReadFile(Path("frames.csv")) + "7,1,1,1\n");
  std::string const complaint =
      Path("frames.csv") + ":3: frame: expected a number above 7, the frame before, found '7'";
  Outcome const json = RunTool("replay --format json " + mRecording.Path());
  EXPECT_EQ(json.exitCode, 3);
  EXPECT_EQ(json.err, "shadingctl: " + complaint + "\n");
  auto const result = nlohmann::json::parse(json.out);
  EXPECT_EQ(result["complete"], false);
  EXPECT_EQ(result["error"], complaint);
  EXPECT_EQ(result["frames"].size(), 1U);
  EXPECT_EQ(result["summary"]["cameras"][0]["frames"], 1);

  Outcome const table = RunTool("replay " + mRecording.Path());
  EXPECT_EQ(table.exitCode, 3);
  EXPECT_NE(table.out.find("\nFrames     1 (7 to 7)"), std::string::npos) << "the summary all the same";

  Outcome const files = RunTool("replay -o " + Path("result") + " --log " + Path("log") + " " + mRecording.Path());
  EXPECT_EQ(files.exitCode, 3);
  EXPECT_EQ(files.out.rfind("Frames     ", 0), 0U);
  EXPECT_EQ(files.err, "shadingctl: " + Path("result") + ": not written, as the replay is not complete\n" +
                           "shadingctl: " + Path("log") + ": not written, as the replay is not complete\n" +
                           "shadingctl: " + complaint + "\n");
  EXPECT_FALSE(fs::exists(Path("result")) || fs::exists(Path("log")));
}

}  // namespace
}  // namespace shadingctl
