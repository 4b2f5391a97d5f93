// Frames in plain words, of a recording and of a log, and what a log that is not whole gives back.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

#include "tests/shadingctl/Program.h"
#include "tests/shadingctl/SickSession.h"

namespace shadingctl {
namespace {

using Json = nlohmann::json;

constexpr int kFrames = 40;

// Forty frames, 200 samples a second: frames with a start, and frames without one that are carried.
void WriteSparseSession(TemporaryDirectory const& directory) {
  SessionPlan plan = Plan(200, 59.7, 5000);
  plan.frames = kFrames;
  HealthySession(plan).Write(directory);
}

// The messages that the library logs while it plays that session, and what the replay says.
struct Captured {
  std::vector<std::string> messages;
  TemporaryDirectory directory;
  std::string path(std::string const& name) const { return directory.Path() + "/" + name; }

  Captured() {
    WriteSparseSession(directory);
    Outcome const outcome = RunTool("replay --log-level 4 --quiet --format json -o " + path("replayed") + " --log " +
                                    path("messages") + " " + directory.Path());
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    for (std::string const& line : Lines(ReadFile(path("messages")))) {
      messages.push_back(line.substr(line.find(": ") + 2));
    }
  }

  Outcome Explain(std::string const& log, std::string const& options) const {
    directory.Write("log", log);
    return RunTool("explain " + options + " " + path("log"));
  }
};

std::string Threadtime(std::string const& message, int thread = 5678) {
  return "01-02 03:04:05.678  1234 " + std::to_string(thread) + " I VeyraShadingUtil: " + message + "\n";
}
std::string Long(std::string const& message) {
  return "[ 01-02 03:04:05.678  1234: 5678 I/VeyraShadingUtil ]\n" + message + "\n\n";
}
std::string Brief(std::string const& message) { return "I/VeyraShadingUtil( 1234): " + message + "\n"; }
std::string Raw(std::string const& message) { return message + "\n"; }
std::string AmongOthers(std::string const& message) {
  return "--------- beginning of main\n01-02 03:04:05.678  1234  5678 D Other: [CalcOISValue] activeNum:7\n" +
         Threadtime(message);
}

struct Form {
  char const* name;
  std::function<std::string(std::string const&)> line;
  char const* lineEnd;
};

std::ostream& operator<<(std::ostream& stream, Form const& form) { return stream << form.name; }

class LogsInEveryFormat : public testing::TestWithParam<Form> {};

TEST_P(LogsInEveryFormat, GiveTheFramesOfTheReplayBack) {
  Captured const captured;
  std::string log;
  for (std::string const& message : captured.messages) log += GetParam().line(message);
  Outcome const outcome =
      captured.Explain(Replaced(log, "\n", GetParam().lineEnd), "--format json -o " + captured.path("explained"));
  ASSERT_EQ(outcome.exitCode, 0) << outcome.err;
  Outcome const difference =
      RunTool("diff --tolerance 1e-5 " + captured.path("replayed") + " " + captured.path("explained"));
  EXPECT_EQ(difference.exitCode, 0) << difference.out;

  Json const replayed = Json::parse(ReadFile(captured.path("replayed")));
  Json const explained = Json::parse(ReadFile(captured.path("explained")));
  EXPECT_EQ(explained["frames"].size(), std::size_t{kFrames});
  EXPECT_EQ(explained["summary"]["cameras"][0]["matches"], replayed["summary"]["cameras"][0]["matches"]);
  EXPECT_EQ(explained["log"]["lost_lines"], 0);
  EXPECT_EQ(explained["log"]["computations"], kFrames);
  EXPECT_EQ(explained["log"]["recomputed"]["same"], kFrames);
}

INSTANTIATE_TEST_SUITE_P(
    All, LogsInEveryFormat,
    testing::Values(Form{"Threadtime", [](auto const& m) { return Threadtime(m); }, "\n"},
                    Form{"ThreadtimeOfWindows", [](auto const& m) { return Threadtime(m); }, "\r\n"},
                    Form{"Long", Long, "\n"}, Form{"LongOfWindows", Long, "\r\n"}, Form{"Brief", Brief, "\n"},
                    Form{"Raw", Raw, "\n"}, Form{"AmongOtherTags", AmongOthers, "\n"}),
    [](auto const& form) { return form.param.name; });

// Every hundredth line is lost: no line changes what is left of another, and what is left says nothing wrong.
TEST(Logs, WithLinesMissingSayWhatIsMissing) {
  Captured const captured;
  std::string log;
  std::size_t deleted = 0;
  for (std::size_t i = 0; i < captured.messages.size(); ++i) {
    bool const isLost = i % 100 == 37;
    if (isLost) ++deleted;
    if (!isLost) log += Threadtime(captured.messages[i]);
  }
  Outcome const outcome = captured.Explain(log, "--format json");
  ASSERT_EQ(outcome.exitCode, 0) << outcome.err;
  Json const explained = Json::parse(outcome.out);
  EXPECT_EQ(explained["log"]["computations"], kFrames);
  EXPECT_EQ(explained["log"]["recomputed"]["different"]["count"], 0);
  std::size_t const lost = explained["log"]["lost_lines"];
  EXPECT_LE(lost, deleted);
  EXPECT_GE(lost, deleted * 9 / 10) << "of " << deleted;

  Json const replayed = Json::parse(ReadFile(captured.path("replayed")));
  std::map<std::uint32_t, Json> rows;
  for (Json const& row : replayed["frames"]) rows[row["frame"]] = row;
  for (Json const& row : explained["frames"]) {
    for (char const* const field : {"match", "start_index", "end_index", "offset_us", "timestamp_ns"}) {
      bool const isSame = row[field].is_null() || row[field] == rows[row["frame"]][field];
      EXPECT_TRUE(isSame) << field << " of " << row;
    }
  }
}

// Whatever wrote the log has cut a line inside of frame 20: that frame is not computed again, and all others are.
TEST(Logs, WithALineCutAtTheLongestLengthCountIt) {
  Captured const captured;
  std::string log;
  int windows = 0;
  for (std::string const& message : captured.messages) {
    log += Threadtime(message);
    bool const isInside = message.find("get source ois data index = 50,") != std::string::npos;
    if (isInside && ++windows == 20) log += Threadtime(message + std::string(1023, '0')).substr(0, 1023) + "\n";
  }
  Outcome const outcome = captured.Explain(log, "--format json");
  EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
  Json const report = Json::parse(outcome.out)["log"];
  EXPECT_EQ(report["damaged"], 1);
  EXPECT_EQ(report["lost_lines"], 0);
  EXPECT_EQ(report["recomputed"]["same"], kFrames - 1);
  EXPECT_EQ(report["recomputed"]["not_whole"], 1);
}

TEST(Logs, OfTwoCamerasAreToldApartByTheirThreads) {
  Captured const captured;
  std::string threads;
  std::string plain;
  for (std::string const& message : captured.messages) {
    std::string const ofOther =
        Replaced(Replaced(message, "camera_id = 0", "camera_id = 2"), "sensor:0 enabled", "sensor:2 enabled");
    threads += Threadtime(message, 1) + Threadtime(ofOther, 2);
    plain += Brief(message) + Brief(ofOther);
  }
  Outcome const outcome = captured.Explain(threads, "--format csv");
  EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
  std::map<std::string, std::vector<std::string>> rows;
  for (auto row : Rows(outcome.out)) {
    std::string const camera = std::exchange(row["camera"], "");
    rows[camera].push_back(testing::PrintToString(row));
  }
  EXPECT_EQ(rows["0"].size(), std::size_t{kFrames});
  EXPECT_EQ(rows["0"], rows["2"]);

  Outcome const refused = captured.Explain(plain, "");
  EXPECT_EQ(refused.exitCode, 3);
  EXPECT_NE(refused.err.find("log:12: expected thread ids, as in the formats threadtime and long"), std::string::npos)
      << refused.err;
}

TEST(Logs, OfAnotherPositionThanTheLibraryComputesAreADifference) {
  Captured const captured;
  std::string log;
  std::size_t seen = 0;
  for (std::string const& message : captured.messages) {
    std::string changed = message;
    std::size_t const digit = message.find(", y=") - 1;
    bool const isLast = message.find("frame_id = ") != std::string::npos && ++seen == 30;
    if (isLast) changed[digit] = changed[digit] == '9' ? '7' : static_cast<char>(changed[digit] + 1);
    if (isLast) changed[digit - 2] = changed[digit - 2] == '9' ? '8' : static_cast<char>(changed[digit - 2] + 1);
    log += Raw(changed);
  }
  Outcome const outcome = captured.Explain(log, "--format json");
  EXPECT_EQ(outcome.exitCode, 1);
  Json const recomputed = Json::parse(outcome.out)["log"]["recomputed"];
  EXPECT_EQ(recomputed["same"], 39);
  EXPECT_EQ(recomputed["different"]["count"], 1);
  std::string const text = captured.Explain(log, "").out;
  std::size_t const different = std::min(text.find("DIFFERENT"), text.size());
  ExpectGolden(text.substr(different, text.find('\n', different) + 1 - different) + LineOf(text, "Recomputed") + "\n",
               "different.txt");
}

TEST(Explanations, TellTheWorkedFrameStepByStep) {
  TemporaryDirectory const directory;
  WriteWorkedRecording(directory);
  Outcome const outcome = RunTool("explain --frame 7 " + directory.Path());
  EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
  ExpectGolden(Replaced(outcome.out, directory.Path(), "DIR"), "explained.txt");

  Json const json = Json::parse(RunTool("explain --frame 7 --format json " + directory.Path() + "/hall.csv").out);
  EXPECT_EQ(json["frames"][0]["end_index"], 60);
  EXPECT_EQ(json["explained"].size(), 1U);
}

TEST(Explanations, WithoutAFrameToTellAreRefused) {
  TemporaryDirectory const directory;
  WriteWorkedRecording(directory);
  directory.Write("empty", "");
  directory.Write("other", "01-02 03:04:05.678  1234  5678 I Other: text\n");
  directory.Write("log",
                  Raw("[CalcOISValue] camera_id = 0, type = 0, oisCount = 0, sof_timestamp = 5, exposure_time = 0, "
                      "shutter_time = 2000, timeDiff = -166"));
  struct {
    char const* arguments;  // after the directory
    int exitCode;
    char const* message;
  } const rows[] = {
      {"/ --frame 8", 3, "expected frame 8, found none of that number"},
      {"/log --frame 8", 3, "expected frame 8, found none of that number"},
      {"/empty", 3, "expected messages of the library"},
      {"/other", 3, "found none in 1 lines"},
      {"/missing", 3, "/missing: cannot be read: No such file or directory"},
      {"/log -o /dev/null --frame -1", 2, "expected a whole number from 0 to 4294967295, found '-1'"},
  };
  for (auto const& row : rows) {
    Outcome const outcome = RunTool("explain " + directory.Path() + row.arguments);
    EXPECT_EQ(outcome.exitCode, row.exitCode) << row.arguments;
    EXPECT_NE(outcome.err.find(row.message), std::string::npos) << row.arguments << "\n" << outcome.err;
  }
  Outcome const output = RunTool("explain " + directory.Path() + "/log -o " + directory.Path() + "/log");
  EXPECT_EQ(output.exitCode, 3);
  EXPECT_NE(output.err.find("is the same file as"), std::string::npos) << output.err;
}

}  // namespace
}  // namespace shadingctl
