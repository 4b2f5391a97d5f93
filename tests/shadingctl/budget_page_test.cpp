// The command, as its page shows it.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>

#include "tests/shadingctl/Program.h"

namespace shadingctl {
namespace {

TEST(BudgetPage, ShowsWhatTheCommandPrints) {
  std::string const page = ReadFile(BUDGET_PAGE);
  std::string const prompt = "```\n$ shadingctl ";
  int compared = 0;
  for (std::size_t at = page.find(prompt); at != std::string::npos; at = page.find(prompt, at + 1)) {
    std::size_t const command = at + prompt.size();
    std::size_t const text = page.find('\n', command) + 1;
    Outcome const outcome = RunTool(page.substr(command, text - 1 - command));
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_EQ(outcome.out, page.substr(text, page.find("```", text) - text));
    ++compared;
  }
  EXPECT_EQ(compared, 2);
}

TEST(BudgetPage, FormatsHoldTheSameFigures) {
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

}  // namespace
}  // namespace shadingctl
