#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "hosting/QuotedText.h"
#include "tools/shadingctl/result/ResultDiff.h"

namespace shadingctl {
namespace {

constexpr double kOneSided = 0.9;  // share of the rows that differ to the same side

// In a cell of a table.
std::string Cell(std::string const& text) { return text.empty() ? "-" : hosting::Markdown(text); }

std::string Cell(Json const& value) {
  if (value.is_null()) return "-";
  return value.is_string() ? Cell(value.get<std::string>()) : Dump(value);
}

std::string ChangeCell(Json const& a, Json const& b) {
  return a.is_number() && b.is_number() ? fmt::format("{:+.9g}", *NumberOf(b) - *NumberOf(a)) : "differs";
}

std::string OnlyText(char const* which, ComparedResult const& result) {
  if (result.only == 0) return {};
  return fmt::format("Only in {}: {} rows, first {}.\n\n", which, result.only, fmt::join(result.firstOnly, "; "));
}

// The leaves of both values side by side, in the order of A, then those that only B has.
void AddLeaves(std::string const& path, Json const& a, Json const& b, std::string& text) {
  if (!a.is_structured() && !b.is_structured()) {
    std::string const change = a == b ? "" : ChangeCell(a, b);
    text += fmt::format("| {} | {} | {} | {} |\n", Cell(path), Cell(a), Cell(b), change);
    return;
  }
  static Json const none;
  auto const below = [&](std::string const& key) { return path.empty() ? key : path + "." + key; };
  std::size_t const items = std::max(a.is_array() ? a.size() : 0, b.is_array() ? b.size() : 0);
  for (std::size_t i = 0; i < items; ++i) {
    auto const item = [&](Json const& list) -> Json const& {
      return list.is_array() && i < list.size() ? list[i] : none;
    };
    AddLeaves(below(std::to_string(i)), item(a), item(b), text);
  }
  auto const member = [](Json const& object, std::string const& key) -> Json const& {
    auto const found = object.is_object() ? object.find(key) : object.end();
    return found == object.end() ? none : *found;
  };
  if (a.is_object()) {
    for (auto const& [key, value] : a.items()) AddLeaves(below(key), value, member(b, key), text);
  }
  if (!b.is_object()) return;
  for (auto const& [key, value] : b.items()) {
    if (!a.is_object() || !a.contains(key)) AddLeaves(below(key), none, value, text);
  }
}

std::string SideBySideHead(char const* title) {
  return fmt::format("## {}\n\n| | A | B | B - A |\n|---|---|---|---|\n", title);
}

// Nothing where both are CSV files, which have no such thing.
std::string SideBySide(char const* title, Json const& a, Json const& b) {
  if (a.empty() && b.empty()) return {};
  std::string text = SideBySideHead(title);
  AddLeaves("", a, b, text);
  return text + "\n";
}

// The numbers of frames by code.
std::string FindingsSideBySide(ResultDiff const& diff) {
  std::map<std::string, std::array<Json, 2>> counts;
  for (std::size_t i = 0; i < 2; ++i) {
    for (Json const& finding : (i == 0 ? diff.a : diff.b).head.Member("findings")) {
      Json const camera = finding.value("camera", Json(0));
      Json const frames = finding.value("frames", Json::object());
      counts[Cell(finding.value("code", Json())) + (camera == 0 ? "" : " of camera " + Cell(camera))][i] =
          frames.is_object() ? frames.value("count", Json()) : Json();
    }
  }
  if (counts.empty()) return {};
  std::string text = SideBySideHead("Findings, with their frames");
  for (auto const& [code, count] : counts) AddLeaves(code, count[0], count[1], text);
  return text + "\n";
}

std::string Incomplete(char const* which, ResultHead const& head) {
  if (head.isComplete) return {};
  return fmt::format("{} is not complete: {}\n\n", which,
                     head.error.empty() ? "it says no more" : hosting::Markdown(head.error));
}

double MedianOf(ColumnDifference const& column) { return column.sizes->Median().value_or(0) / kSizeUnits; }

// Median and RMS of the rows that have numbers on both sides.
std::string SpreadCells(ColumnDifference const& column) {
  if (!column.sizes) return " | ";
  return fmt::format("{:.3g} | {:.3g}", MedianOf(column),
                     std::sqrt(column.squares / static_cast<double>(column.numbers)));
}

// Where most spans of B are older than those of A, or most are younger.
std::string SpansText(ResultDiff const& diff) {
  ColumnDifference const& ages = diff.columns[static_cast<std::size_t>(Column::kSpanAgeUs)];
  if (!ages.sizes || 2 * ages.numbers < diff.CommonRows()) return {};
  double const share = static_cast<double>(ages.greater) / static_cast<double>(ages.numbers);
  if (share > 1 - kOneSided && share < kOneSided) return {};
  return fmt::format("B's spans lie {:.3g} ms {} than those of A (median of {} rows).\n\n", MedianOf(ages) / 1e3,
                     share >= kOneSided ? "earlier" : "later", ages.numbers);
}

std::string ColumnsText(ResultDiff const& diff) {
  std::string text =
      "## By field\n\n| field | rows | median | RMS | largest difference | in |\n|---|---|---|---|---|---|\n";
  for (std::size_t i = 0; i < kColumnCount; ++i) {
    ColumnDifference const& column = diff.columns[i];
    if (column.rows == 0) continue;
    text += fmt::format("| {} | {} | {} | {} | {} |\n", kResultColumns[i].name, column.rows, SpreadCells(column),
                        column.largestRow.empty() ? "" : fmt::format("{:.9g}", column.largest), column.largestRow);
  }
  text += "\n## First differences\n\n| row | field | A | B | B - A |\n|---|---|---|---|---|\n";
  for (auto const& [row, place, index, a, b] : diff.named) {
    ResultColumn const& column = kResultColumns[index];
    text += fmt::format("| {} | {} | {} | {} | {} |\n", row, column.name, Cell(ValueText(column, a)),
                        Cell(ValueText(column, b)), ChangeCell(a, b));
  }
  return text + "\n";
}

}  // namespace

std::string DiffText(ResultDiff const& diff, std::string const& nameOfA, std::string const& nameOfB) {
  std::string text = fmt::format("# Two replays compared\n\nA is {} ({} rows), B is {} ({} rows).\n\n",
                                 hosting::Markdown(nameOfA), diff.a.rows, hosting::Markdown(nameOfB), diff.b.rows);
  text += Incomplete("A", diff.a.head) + Incomplete("B", diff.b.head);
  text += diff.different == 0 ? fmt::format("None of {} common rows differs.\n\n", diff.CommonRows())
                              : fmt::format("**{} of {} common rows differ.**\n\n", diff.different, diff.CommonRows());
  text += OnlyText("A", diff.a) + OnlyText("B", diff.b);
  text += SpansText(diff);
  if (diff.different > 0) text += ColumnsText(diff);
  text += SideBySide("Settings", diff.a.head.Member("settings"), diff.b.head.Member("settings"));
  text += FindingsSideBySide(diff);
  text += SideBySide("Summary", diff.a.head.Member("summary"), diff.b.head.Member("summary"));
  text.pop_back();
  return text;
}

std::vector<std::string> ComplaintsOf(ResultDiff const& diff) {
  std::string const& file = diff.a.head.name;
  std::vector<std::string> complaints;
  for (auto const& [row, place, index, a, b] : diff.named) {
    ResultColumn const& column = kResultColumns[index];
    std::string const where =
        diff.a.head.isCsv ? fmt::format("{}:{}", file, place) : fmt::format("{}: frames[{}]", file, place);
    auto const shown = [&](Json const& value) {
      std::string const text = ValueText(column, value);
      return text.empty() ? "nothing" : text;
    };
    complaints.push_back(fmt::format("{}: {}: expected {}, found {}", where, column.name, shown(a), shown(b)));
  }
  for (std::string const& row : diff.a.firstOnly)
    complaints.push_back(fmt::format("{}: expected {}, found none", file, row));
  for (std::string const& row : diff.b.firstOnly)
    complaints.push_back(fmt::format("{}: expected no {}, found it", file, row));
  if (!complaints.empty()) {
    complaints.push_back(
        fmt::format("{}: {} rows differ, {} are missing, {} are new", file, diff.different, diff.a.only, diff.b.only));
  }
  return complaints;
}

}  // namespace shadingctl
