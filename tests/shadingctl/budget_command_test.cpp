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
    int exitCode;  // with --check
  } const rows[] = {
      {"--hall-rate 1000 --frame-rate 60 --readout-us 15980 --exposure-us 10000", 0},
      {"--hall-rate 200 --frame-rate 60 --readout-us 15980 --exposure-us 10000", 1},   // in part, locked
      {"--hall-rate 8000 --frame-rate 60 --readout-us 15980 --exposure-us 1000", 1},   // without ends
      {"--hall-rate 4000 --frame-rate 60 --readout-us 16600 --exposure-us 1000", 1},   // with some ends
      {"--hall-rate 4000 --frame-rate 60 --readout-us 15980 --exposure-us 12000", 1},  // beyond reach
      {"--hall-rate 100 --frame-rate 60 --readout-us 15980 --exposure-us 1000", 1},    // too few samples
      {"--hall-rate 199 --frame-rate 60 --readout-us 15980 --exposure-us 100", 1},     // sometimes
      {"--hall-rate 1000 --frame-rate 120 --readout-us 400 --exposure-us 5000", 1},    // too short a readout
      {"--hall-rate 90 --frame-rate 10 --readout-us 0 --exposure-us 5000 --delivery-delay-us 100", 1},
      {"--hall-rate 1000 --frame-rate 60 --readout-us 15980 --exposure-us 16667", 2},
  };
  std::string told;
  for (auto const& [options, exitCode] : rows) {
    Outcome const outcome = RunTool(std::string("budget --check ") + options);
    EXPECT_EQ(outcome.exitCode, exitCode) << options;
    Outcome const unchecked = RunTool(std::string("budget ") + options);
    EXPECT_EQ(unchecked.exitCode, exitCode == 1 ? 0 : exitCode) << options;
    EXPECT_EQ(unchecked.out, outcome.out);
    told += options + ("\n" + outcome.out + outcome.err) + "\n";
  }
  ExpectGolden(told, "budgets.txt");
  std::string const json =
      RunTool("budget --hall-rate 200 --frame-rate 60 --readout-us 15980 --exposure-us 10 --format json").out;
  EXPECT_EQ(LineOf(json, "\"version\""), "  \"version\": 1,") << json;
}

}  // namespace
}  // namespace shadingctl
