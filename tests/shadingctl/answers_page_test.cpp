// The walks from a symptom to its cure, as their page shows them.
#include <gtest/gtest.h>

#include <string>

#include "tests/shadingctl/Program.h"

namespace shadingctl {
namespace {

TEST(AnswersPage, ShowsWhatTheCommandsPrint) {
  TemporaryDirectory const directory;
  bool isInBlock = false;
  std::string command;
  std::string expected;
  int compared = 0;
  for (std::string const& line : Lines(ReadFile(ANSWERS_PAGE))) {
    bool const isCommand = isInBlock && line.rfind("$ ", 0) == 0;
    bool const isFence = line == "```";
    if (!command.empty() && (isCommand || isFence)) {
      EXPECT_EQ(RunScript("cd " + directory.path() + " && " + command).out, expected) << command;
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
  EXPECT_EQ(compared, 28);
}

}  // namespace
}  // namespace shadingctl
