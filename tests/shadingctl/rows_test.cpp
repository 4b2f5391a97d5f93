// Which rows a replay shows, and how a terminal shows them.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <regex>
#include <string>

#include "tests/shadingctl/Program.h"

namespace shadingctl {
namespace {

// Of the built-in session, frames 122 to 128 and 212 have no window, and frame 213 is carried.
TEST(Rows, OfSomeKindsAndFramesAreShownAndAllArePlayed) {
  std::string const all = RunTool("replay --quiet --format csv").out;
  std::string const selection = " --only carried,no_window --range 123:213";
  Outcome const csv = RunTool("replay --format csv" + selection);
  auto const lines = Lines(csv.out);
  ASSERT_EQ(lines.size(), 1U + 6 + 2);
  for (auto const& line : lines) EXPECT_NE(all.find(line + "\n"), std::string::npos) << line;
  ExpectGolden(LineOf(csv.err, "Shown") + "\n", "selection.txt");

  auto const json = nlohmann::json::parse(RunTool("replay --format json" + selection).out);
  EXPECT_EQ(json["frames"].size(), 8U);
  EXPECT_EQ(json["settings"]["only"].dump(), R"(["carried","no_window"])");
  EXPECT_EQ(json["settings"]["range"].dump(), "[123,213]");
  EXPECT_EQ(json["summary"]["cameras"][0]["frames"], 297);

  std::string const table = RunTool("replay --quiet --range 300:300").out;
  EXPECT_NE(LineOf(table, "300     4.983 start "), "") << "the time is that since frame 1";
  EXPECT_EQ(LineOf(table, "299"), "");
}

TEST(Rows, OfASummaryThereAreNone) {
  TemporaryDirectory const directory;
  std::string const result = directory.Path() + "/result";
  EXPECT_EQ(RunTool("replay --summary --format csv -o " + result).out, "");
  EXPECT_EQ(WithoutDurations(ReadFile(result)), ReadFile(GOLDEN "/builtin-summary.txt"));
  Outcome const table = RunTool("replay --summary");
  EXPECT_NE(WithoutDurations(table.out).find(ReadFile(GOLDEN "/builtin-summary.txt")), std::string::npos);
  EXPECT_EQ(table.err, "");
  auto const json = nlohmann::json::parse(RunTool("replay --summary --format json").out);
  EXPECT_TRUE(json["frames"].empty());
  EXPECT_EQ(json["settings"]["summary_only"], true);
}

class Terminal : public testing::Test {
 protected:
  void SetUp() override {
    if (RunScript("script -qec true /dev/null").exitCode != 0) GTEST_SKIP() << "no script(1) to play a terminal";
  }

  // What a terminal of that width receives, without carriage returns.
  static std::string Receive(int columns, std::string const& arguments, std::string const& environment = "") {
    std::string const command =
        "stty cols " + std::to_string(columns) + "; " + environment + " shadingctl " + arguments;
    return Replaced(RunScript("TERM=xterm script -qec '" + command + "' /dev/null </dev/null").out, "\r", "");
  }

  static std::string WithoutColor(std::string const& text) {
    return std::regex_replace(text, std::regex("\033\\[[0-9]*m"), "");
  }
};

TEST_F(Terminal, Of80ColumnsShowsAFrameInALine) {
  std::string const shown = Receive(80, "replay -q");
  EXPECT_NE(shown.find("\033[32mstart    \033[0m"), std::string::npos) << "in colour";
  auto const lines = Lines(WithoutColor(shown));
  ASSERT_EQ(lines.size(), 4U + 297);
  for (auto const& line : lines) EXPECT_LE(line.size(), 80U) << line;
  EXPECT_EQ(LineOf(WithoutColor(shown), "213 "),
            "  213   3.533 carried   -10.3262  29.8133 nearest in window 5652 us from start");
}

TEST_F(Terminal, ShowsAllColumnsAndColoursAsAskedFor) {
  std::string const plain = RunTool("replay -q").out;
  EXPECT_EQ(Receive(80, "replay -q --wide --color never"), plain);
  EXPECT_EQ(Receive(80, "replay -q --wide", "NO_COLOR=1"), plain);
  EXPECT_EQ(Receive(200, "replay -q", "TERM=dumb"), plain);
  EXPECT_EQ(Receive(80, "replay -q --wide"), RunTool("replay -q --color always").out);
  EXPECT_EQ(WithoutColor(RunTool("replay -q --color always").out), plain);
  EXPECT_EQ(RunTool("replay -q --color always --format csv").out, RunTool("replay -q --format csv").out);
}

}  // namespace
}  // namespace shadingctl
