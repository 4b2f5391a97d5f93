// Recordings rebuilt from the library's logs.
#include <gtest/gtest.h>

#include <string>

#include "tests/shadingctl/Program.h"

namespace shadingctl {
namespace {

// Replays a session with its log, imports the log after `edit` has changed it, and compares both results in the column
// of positions, from the first frame that had a window on. Prints the numbers of rows that are compared and that
// differ.
Outcome CompareWithItsLog(std::string const& session, std::string const& edit) {
  TemporaryDirectory const directory;
  return RunScript(
      "cd '" + directory.path() + "' && shadingctl generate s " + session +
      " >/dev/null && shadingctl replay s --log-level 4 --log full.log --format csv -o a.csv >/dev/null && " + edit +
      " <full.log >some.log && shadingctl import some.log -o r >told && cat r/recording.csv told && "
      "shadingctl replay r --format csv -o b.csv >/dev/null && shadingctl diff a.csv b.csv --tolerance "
      "0.00001 | grep -E 'hall_|carried|matched|rows differ|^A is' ; true");
}

TEST(LogImport, GivesThePositionsOfTheSessionAgain) {
  char const* const sessions[] = {"--late 0 --pause-us 0", "--switch-every 40 --overlap 1 --late 0 --pause-us 0"};
  for (char const* const session : sessions) {
    Outcome const outcome = CompareWithItsLog(session, "cat");
    EXPECT_EQ(outcome.out.find("hall_x"), std::string::npos) << session << outcome.out << outcome.err;
    EXPECT_EQ(outcome.out.find("hall_y"), std::string::npos) << session << outcome.out;
    EXPECT_NE(outcome.out.find("A is a.csv ("), std::string::npos) << outcome.out << outcome.err;
    EXPECT_NE(outcome.out.find("batches,rebuilt\n"), std::string::npos) << outcome.out;
    EXPECT_NE(outcome.err.find("some.log: a log holds the samples around each frame"), std::string::npos);
  }
}

// Every 50th sample line is lost; the window of the next frame has it.
TEST(LogImport, FindsLostSamplesInTheWindowsOfLaterFrames) {
  Outcome const outcome =
      CompareWithItsLog("--late 0 --pause-us 0", "awk '/get source ois data/ && ++n % 50 == 0 { next } { print }'");
  EXPECT_EQ(outcome.out.find("hall_x"), std::string::npos) << outcome.out << outcome.err;
}

TEST(LogImport, OfOtherLogsIsRefused) {
  TemporaryDirectory const directory;
  directory.Write("other.log", "11-25 10:00:00.000  100  100 I tag: hello\n");
  std::string const in = "cd '" + directory.path() + "' && ";
  Outcome const other = RunScript(in + "shadingctl import other.log -o r; ls r");
  EXPECT_NE(other.err.find("other.log: expected the samples that the library tells at log level 4, found none in 1 "
                           "lines"),
            std::string::npos)
      << other.err;
  EXPECT_EQ(other.out, "");
  Outcome const low = RunScript(in +
                                "shadingctl replay --log-level 1 --log low.log -q --format csv -o x.csv && "
                                "shadingctl import low.log -o r");
  EXPECT_EQ(low.exitCode, 3);
  EXPECT_NE(low.err.find("low.log: expected the samples"), std::string::npos) << low.err;
  EXPECT_EQ(RunTool("import --scale-x 2 some.log -o r").exitCode, 2);
  EXPECT_EQ(RunTool("import -o r").exitCode, 2);
}

}  // namespace
}  // namespace shadingctl
