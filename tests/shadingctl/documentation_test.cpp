// Pages that show commands with their output, and a program, against what these really are.
#include <gtest/gtest.h>

#include <filesystem>
#include <ostream>
#include <string>

#include "tests/shadingctl/Program.h"

namespace shadingctl {
namespace {

// What a page takes for the source and the built tree.
constexpr char const* kTree = "programs=" PROGRAM_DIRECTORY "; libraries=" LIBRARY_DIRECTORY
                              "\n"
                              "tap() { $libraries/vcam-shadingutil/taps/tap \"$@\"; }\n";

struct Page {
  char const* path;
  int commands;  // on lines that begin with "$ "
};

std::ostream& operator<<(std::ostream& stream, Page const& page) {
  return stream << std::filesystem::path(page.path).filename().string();
}

class Walkthrough : public testing::TestWithParam<Page> {};

TEST_P(Walkthrough, ShowsWhatTheCommandsPrint) {
  TemporaryDirectory const directory;
  bool isInBlock = false;
  std::string command;
  std::string expected;
  int compared = 0;
  for (std::string const& line : Lines(ReadFile(GetParam().path))) {
    bool const isCommand = isInBlock && line.rfind("$ ", 0) == 0;
    bool const isFence = line == "```";
    if (!command.empty() && (isCommand || isFence)) {
      EXPECT_EQ(RunScript(kTree + ("cd " + directory.Path()) + " && " + command).out, expected) << command;
      command.clear();
      ++compared;
    }
    if (isFence) isInBlock = !isInBlock;
    if (isCommand) {
      command = line.substr(2);
      expected.clear();
    } else {
      expected += line + "\n";
    }
  }
  EXPECT_EQ(compared, GetParam().commands);
}

INSTANTIATE_TEST_SUITE_P(Pages, Walkthrough,
                         testing::Values(Page{ANSWERS_PAGE, 28}, Page{TIMING_PAGE, 8}, Page{BENCH_PAGE, 15}));

TEST(ApiPage, ShowsTheHostThatTheInstallationCheckBuildsAndRuns) {
  std::string const page = ReadFile(API_PAGE);
  EXPECT_NE(page.find("```cpp\n" + ReadFile(CONSUMER "/consumer.cpp") + "```\n"), std::string::npos);
  std::string const project = ReadFile(CONSUMER "/CMakeLists.txt");
  EXPECT_NE(page.find("```\n" + project.substr(project.find('\n') + 1) + "```\n"), std::string::npos)
      << "without its first line, a comment";
}

}  // namespace
}  // namespace shadingctl
