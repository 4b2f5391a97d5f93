// The documentation of a result's columns against their table.
#include <fmt/format.h>
#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

#include "tools/shadingctl/result/ResultColumns.h"

namespace shadingctl {
namespace {

// The rows of the page's tables of columns, without their meanings and behind the number of their table.
std::vector<std::string> PageRows() {
  std::ifstream page(REPLAY_OUTPUT_PAGE);
  std::vector<std::string> rows;
  int tables = 0;
  bool isInTable = false;
  for (std::string line; std::getline(page, line);) {
    bool const isHead = line == "| column | values | unit | log level | meaning |";
    if (isHead) ++tables;
    isInTable = isHead || (isInTable && !line.empty());
    if (isInTable && line.rfind("| `", 0) == 0)
      rows.push_back(fmt::format("{}: {}", tables, line.substr(0, line.rfind(" | "))));
  }
  return rows;
}

// Those of CSV and JSON in the first table, those of JSON alone in the second.
TEST(ResultColumns, StandInTheDocumentation) {
  std::vector<std::string> expected;
  for (ResultColumn const& column : kResultColumns) {
    expected.push_back(fmt::format("{}: | `{}` | {} | {} | {}", column.isInCsv ? 1 : 2, column.name,
                                   ExpectedValue(column), column.unit, column.level));
  }
  EXPECT_EQ(PageRows(), expected);
}

}  // namespace
}  // namespace shadingctl
