// The formats of the command.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>

#include "tests/shadingctl/Program.h"

namespace shadingctl {
namespace {

TEST(BudgetCommand, FormatsHoldTheSameFigures) {
  std::string const command =
      "budget --frame-rate 60 --readout-us 15980 --hall-rate 200 --sweep exposure --exposure-us 1266";
  auto const csv = Lines(RunTool(command + " --format csv").out);
  auto const budgets = nlohmann::ordered_json::parse(RunTool(command + " --format json").out)["budgets"];
  ASSERT_EQ(csv.size(), budgets.size() + 1);
  auto const names = Fields(csv[0]);
  for (std::size_t i = 0; i < budgets.size(); ++i) {
    auto const values = Fields(csv[i + 1]);
    ASSERT_EQ(values.size(), names.size());
    for (std::size_t k = 0; k < names.size(); ++k) {
      auto const& value = budgets[i][names[k]];
      EXPECT_EQ(values[k], value.is_null() ? "" : value.dump()) << names[k];
    }
  }
  EXPECT_EQ(budgets[4]["exposure_us"], 1266.0) << "the value of the option is in its place";
  EXPECT_NEAR(budgets[4]["start"].get<double>(), 0.5998, 1e-4);
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
