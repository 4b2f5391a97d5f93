// How many messages a frame costs, as docs/porting.md promises it.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <string>

#include "tests/shadingctl/Program.h"

namespace shadingctl {
namespace {

// The span of the worked recording is entries 40 to 60. At level 4 that is 100 entries of the window, 40 distances
// before the start, 20 from there to the end and 21 entries of the span, beside 12 messages of which 10 come at level 1
// too.
TEST(LogBudget, MessagesOfAMatchedFrame) {
  TemporaryDirectory const recording;
  WriteWorkedRecording(recording);
  for (auto const& [level, messages] : std::map<std::string, int>{{"0", 1}, {"1", 10}, {"3", 10}, {"4", 193}}) {
    Outcome const outcome =
        RunTool("replay " + recording.Path() + " --quiet -o /dev/null --log - --log-level " + level);
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    auto const lines = Lines(outcome.out);
    EXPECT_EQ(std::count_if(lines.begin(), lines.end(), [](auto const& line) { return line.rfind("7: ", 0) == 0; }),
              messages)
        << level;
  }
}

}  // namespace
}  // namespace shadingctl
