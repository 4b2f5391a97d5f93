// How many messages a frame costs, as docs/porting.md promises it.
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/shadingctl/Program.h"

namespace shadingctl {
namespace {

// The span of the worked recording is entries 40 to 60. At level 4 that is 100 entries of the window, 40 distances
// before the start, 20 from there to the end and 21 entries of the span, beside 12 messages of which 10 come at level 1
// too.
struct LevelCost {
  char const* level;
  std::ptrdiff_t messages;
};

class LogBudget : public testing::TestWithParam<LevelCost> {};

TEST_P(LogBudget, MessagesOfAMatchedFrame) {
  TemporaryDirectory const recording;
  WriteWorkedRecording(recording);
  Outcome const outcome =
      RunTool("replay " + recording.Path() + " --quiet -o /dev/null --log - --log-level " + GetParam().level);
  ASSERT_EQ(outcome.exitCode, 0) << outcome.err;
  auto const lines = Lines(outcome.out);
  EXPECT_EQ(std::count_if(lines.begin(), lines.end(), [](auto const& line) { return line.rfind("7: ", 0) == 0; }),
            GetParam().messages);
}

INSTANTIATE_TEST_SUITE_P(All, LogBudget,
                         testing::Values(LevelCost{"0", 1}, LevelCost{"1", 10}, LevelCost{"3", 10},
                                         LevelCost{"4", 193}),
                         [](auto const& row) { return std::string("Level") + row.param.level; });

}  // namespace
}  // namespace shadingctl
