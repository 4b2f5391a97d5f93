#include "tools/shadingctl/result/GoldenCheck.h"

#include <fmt/format.h>

#include <algorithm>

#include "hosting/UnusableInput.h"
#include "tools/shadingctl/result/RowCsv.h"

namespace shadingctl {
namespace {

std::vector<std::string> Fields(std::string_view line) {
  while (!line.empty() && (line.back() == '\n' || line.back() == '\r')) line.remove_suffix(1);
  std::vector<std::string> fields;
  for (;;) {
    std::size_t const comma = line.find(',');
    fields.emplace_back(line.substr(0, comma));
    if (comma == std::string_view::npos) return fields;
    line.remove_prefix(comma + 1);
  }
}

}  // namespace

GoldenCheck::GoldenCheck(std::string const& path) : mFile(path) {
  std::string_view header;
  mFile.Next(header);
  mNames = Fields(header);
  std::vector<std::string> const known = Fields(CsvHeader());
  for (std::string const& name : mNames) {
    auto const column = std::find(known.begin(), known.end(), name);
    if (column == known.end()) {
      throw hosting::UnusableInput(fmt::format("{}:1: expected columns of a result ({}), found '{}'", mFile.Name(),
                                               fmt::join(known, ", "), name));
    }
    mColumns.push_back(static_cast<std::size_t>(column - known.begin()));
  }
}

void GoldenCheck::Complain(std::string const& complaint) {
  if (++mDifferences <= kTold) mComplaints.push_back(fmt::format("{}:{}: {}", mFile.Name(), mLine, complaint));
}

void GoldenCheck::Add(FrameResult const& row) {
  ++mLine;
  std::string_view line;
  if (!mFile.Next(line)) return Complain(fmt::format("expected no more frames, found frame {}", row.frame));
  std::vector<std::string> const expected = Fields(line);
  std::vector<std::string> const found = Fields(CsvRow(row));
  if (expected.size() != mColumns.size()) {
    return Complain(fmt::format("expected {} values, found {}", mColumns.size(), expected.size()));
  }
  std::string differences;
  for (std::size_t i = 0; i < expected.size(); ++i) {
    std::string const& value = found[mColumns[i]];
    if (expected[i] == value) continue;
    differences += fmt::format("{}{}: expected {}, found {}", differences.empty() ? "" : "; ", mNames[i],
                               expected[i].empty() ? "nothing" : expected[i], value.empty() ? "nothing" : value);
  }
  if (!differences.empty()) Complain(differences);
}

void GoldenCheck::Finish() {
  for (std::string_view line; mFile.Next(line);) {
    ++mLine;
    if (!line.empty() && line != "\r") Complain("expected another frame, found the end of the result");
  }
  if (mDifferences > kTold) mComplaints.push_back(fmt::format("{}: {} lines differ", mFile.Name(), mDifferences));
}

}  // namespace shadingctl
