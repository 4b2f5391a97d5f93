// Sweeps and checks of the command.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "tests/shadingctl/Program.h"

namespace shadingctl {
namespace {

TEST(BudgetCommand, ASweepHasTheValueOfTheOptionInItsPlace) {
  auto const rows = Rows(RunTool("budget --frame-rate 60 --readout-us 15980 --hall-rate 200 --sweep exposure "
                                 "--exposure-us 1266 --format csv")
                             .out);
  auto const own =
      std::find_if(rows.begin(), rows.end(), [](auto const& row) { return row.at("exposure_us") == "1266.0"; });
  ASSERT_NE(own, rows.end());
  EXPECT_NEAR(std::stod(own->at("start")), 0.5998, 1e-4);
  EXPECT_TRUE(std::is_sorted(rows.begin(), rows.end(), [](auto const& one, auto const& other) {
    return std::stod(one.at("exposure_us")) < std::stod(other.at("exposure_us"));
  }));
}

TEST(BudgetCommand, CheckAsksForBothEndsOfAllFrames) {
  struct {
    char const* options;
    int exitCode;
  } const rows[] = {
      {"--hall-rate 1000 --exposure-us 10000 --check", 0}, {"--hall-rate 200 --exposure-us 10000 --check", 1},
      {"--hall-rate 200 --exposure-us 10000", 0},          {"--hall-rate 8000 --exposure-us 1000 --check", 1},
      {"--hall-rate 1000 --exposure-us 16667", 2},
  };
  for (auto const& [options, exitCode] : rows) {
    EXPECT_EQ(RunTool(std::string("budget --frame-rate 60 --readout-us 15980 ") + options).exitCode, exitCode)
        << options;
  }
}

}  // namespace
}  // namespace shadingctl
