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
      "cd '" + directory.Path() + "' && shadingctl generate s " + session +
      " >/dev/null && shadingctl replay s --log-level 4 --log full.log --format csv -o a.csv >/dev/null && " + edit +
      " <full.log >some.log && shadingctl import some.log -o r >told && cat r/recording.csv told && "
      "shadingctl replay r --format csv -o b.csv >/dev/null && shadingctl diff a.csv b.csv --tolerance "
      "0.00001 | grep -E 'hall_|carried|matched|rows differ|^A is' ; true");
}

// The number of rows in the line of a comparison about a column; a column without a line is equal.
int DifferingRows(std::string const& comparison, std::string const& column) {
  std::string const head = "| " + column + " | ";
  std::size_t const at = comparison.find(head);
  return at == std::string::npos ? 0 : std::stoi(comparison.substr(at + head.size()));
}

struct Rebuilt {
  char const* session;
  char const* edit;  // of its log
  int rows;
  int differing;  // of them, by their position, at most
};

TEST(LogImport, GivesThePositionsOfASessionAgainButForFew) {
  Rebuilt const logs[] = {
      {"--late 0 --pause-us 0", "cat", 297, 0},
      {"--cameras 2 --types 0,5 --late 0 --pause-us 0", "cat", 1188, 0},
      // Repeated samples whose times differ by less than 1 us are one in a log.
      {"--switch-every 40 --overlap 1 --late 0 --pause-us 0", "cat", 297, 3},
      // Every 50th sample line is lost; the window of the next frame has it.
      {"--late 0 --pause-us 0", "awk '/get source ois data/ && ++n % 50 == 0 { next } { print }'", 297, 1},
  };
  for (Rebuilt const& log : logs) {
    Outcome const outcome = CompareWithItsLog(log.session, log.edit);
    EXPECT_LE(DifferingRows(outcome.out, "hall_x"), log.differing) << log.session << outcome.out << outcome.err;
    EXPECT_LE(DifferingRows(outcome.out, "hall_y"), log.differing) << log.session << outcome.out;
    std::string const rows = std::to_string(log.rows) + " rows)";
    EXPECT_NE(outcome.out.find("A is a.csv (" + rows + ", B is b.csv (" + rows + "."), std::string::npos)
        << outcome.out;
    EXPECT_NE(outcome.out.find("batches,rebuilt\n"), std::string::npos) << outcome.out;
    ExpectGolden(LineOf(outcome.err, "shadingctl: some.log: ") + "\n", "log.txt");
  }
}

TEST(LogImport, OfOtherLogsIsRefused) {
  TemporaryDirectory const directory;
  directory.Write("other.log", "11-25 10:00:00.000  100  100 I tag: hello\n");
  std::string const in = "cd '" + directory.Path() + "' && ";
  Outcome const other = RunScript(in + "shadingctl import other.log -o r; ls r");
  ExpectGolden(LineOf(other.err, "shadingctl: ") + "\n", "other-log.txt");
  EXPECT_EQ(other.out, "");
  Outcome const low = RunScript(in +
                                "shadingctl replay --log-level 1 --log low.log -q --format csv -o x.csv && "
                                "shadingctl import low.log -o r");
  EXPECT_EQ(low.exitCode, 3);
  EXPECT_NE(low.err.find("low.log: expected"), std::string::npos) << low.err;
  EXPECT_EQ(RunTool("import --scale-x 2 some.log -o r").exitCode, 2);
  EXPECT_EQ(RunTool("import -o r").exitCode, 2);
}

}  // namespace
}  // namespace shadingctl
