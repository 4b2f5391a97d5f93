// The documentation of a result's columns against their table.
#include <fmt/format.h>
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>

#include "tools/shadingctl/result/ResultColumns.h"

namespace shadingctl {
namespace {

// Those of CSV and JSON, or those of JSON alone.
std::string PageTable(bool isInCsv) {
  std::string text = "| column | values | unit | log level | meaning |\n|---|---|---|---|---|\n";
  for (ResultColumn const& column : kResultColumns) {
    if (column.isInCsv != isInCsv) continue;
    text += fmt::format("| `{}` | {} | {} | {} | {} |\n", column.name, ExpectedValue(column), column.unit, column.level,
                        column.meaning);
  }
  return text + "\n";
}

TEST(ResultColumns, StandInTheDocumentation) {
  std::ostringstream page;
  page << std::ifstream(REPLAY_OUTPUT_PAGE).rdbuf();
  for (bool const isInCsv : {true, false}) {
    EXPECT_NE(page.str().find(PageTable(isInCsv)), std::string::npos) << "expected this table:\n" << PageTable(isInCsv);
  }
}

}  // namespace
}  // namespace shadingctl
