#include "tools/shadingctl/result/TableLayout.h"

#include <fmt/format.h>

#include <algorithm>
#include <string_view>

#include "tools/shadingctl/output/TerminalColor.h"

namespace shadingctl {
namespace {

// Nine significant digits, as PositionText gives them, take 11 characters, or 13 for most fractions.
constexpr TableColumn kWide[] = {{TableCell::kCamera, "camera", "", 6},
                                 {TableCell::kFrame, "frame", "", 10},
                                 {TableCell::kTime, "time", "s", 9},
                                 {TableCell::kMatch, "match", "", 9},
                                 {TableCell::kSamples, "samples", "", 7},
                                 {TableCell::kSpan, "span", "entries", 7},
                                 {TableCell::kOffset, "offset", "us", 7},
                                 {TableCell::kDistance, "from start", "us/allowed", 10},
                                 {TableCell::kAge, "age", "us", 8},
                                 {TableCell::kHallX, "hall x", "hall unit", 13},
                                 {TableCell::kHallY, "hall y", "hall unit", 13},
                                 {TableCell::kCoverage, "covers", "%", 6}};
constexpr TableCell kDropOrder[] = {TableCell::kCoverage, TableCell::kSamples,  TableCell::kOffset,
                                    TableCell::kSpan,     TableCell::kDistance, TableCell::kAge};

constexpr std::size_t kNarrowFrame = 5;  // digits
constexpr std::size_t kNarrowTime = 7;   // to 999.999 s
constexpr std::size_t kNarrowPosition = 8;
constexpr std::size_t kShortestNote = 10;  // a terminal that leaves less wraps the lines itself

std::size_t WidthOf(TableLayout const& layout) {
  std::size_t width = 0;
  for (TableColumn const& column : layout.columns) width += column.width + 1;
  return width;
}

void Drop(TableLayout& layout, TableCell dropped) {
  auto& columns = layout.columns;
  auto const found =
      std::find_if(columns.begin(), columns.end(), [&](TableColumn const& column) { return column.column == dropped; });
  columns.erase(found);
}

std::size_t NarrowWidth(TableColumn const& column, std::size_t frameDigits) {
  switch (column.column) {
    case TableCell::kFrame:
      return std::max(kNarrowFrame, frameDigits);
    case TableCell::kTime:
      return kNarrowTime;
    case TableCell::kHallX:
    case TableCell::kHallY:
      return kNarrowPosition;
    default:
      return column.width;
  }
}

// The end of the part of `text` that fits: at a blank, if there is one.
std::size_t BreakAt(std::string_view text, std::size_t width) {
  if (text.size() <= width) return text.size();
  std::size_t const blank = text.rfind(' ', width);
  return blank == std::string_view::npos || blank == 0 ? width : blank;
}

}  // namespace

TableLayout FitTable(std::optional<std::size_t> width, std::size_t frameDigits, bool withCamera) {
  TableLayout layout;
  layout.columns.assign(std::begin(kWide), std::end(kWide));
  if (!withCamera) Drop(layout, TableCell::kCamera);
  if (!width) return layout;
  auto const fits = [&] { return WidthOf(layout) + kNoteWidth <= *width; };
  for (TableCell const dropped : kDropOrder) {
    if (!fits()) Drop(layout, dropped);
  }
  layout.narrow = !fits();
  if (layout.narrow) {
    for (TableColumn& column : layout.columns) column.width = NarrowWidth(column, frameDigits);
  }
  if (!fits()) Drop(layout, TableCell::kTime);
  std::size_t const used = WidthOf(layout);
  layout.noteWidth = *width > used + kShortestNote ? *width - used : kShortestNote;
  return layout;
}

std::string TableRow(TableLayout const& layout, std::vector<std::string> const& cells, std::string const& note,
                     char const* matchColor) {
  std::string row;
  std::size_t indent = 0;
  for (std::size_t i = 0; i < cells.size(); ++i) {
    TableColumn const& column = layout.columns[i];
    bool const isMatch = column.column == TableCell::kMatch;
    std::string const cell =
        isMatch ? fmt::format("{:<{}}", cells[i], column.width) : fmt::format("{:>{}}", cells[i], column.width);
    row += (isMatch && matchColor != nullptr ? matchColor + cell + kPlain : cell) + " ";
    indent += cell.size() + 1;
  }
  std::string_view rest = note;
  std::size_t end = layout.noteWidth ? BreakAt(rest, *layout.noteWidth) : rest.size();
  row += rest.substr(0, end);
  row.erase(row.find_last_not_of(' ') + 1);
  row += '\n';
  for (rest.remove_prefix(end); !rest.empty(); rest.remove_prefix(end)) {
    if (rest.front() == ' ') rest.remove_prefix(1);
    end = BreakAt(rest, *layout.noteWidth);
    row += std::string(indent, ' ') + std::string(rest.substr(0, end)) + '\n';
  }
  return row;
}

std::string FitNumber(double number, std::size_t width, int decimals) {
  for (int i = decimals; i >= 0; --i) {
    std::string const text = fmt::format("{:.{}f}", number, i);
    if (text.size() <= width) return text;
  }
  return fmt::format("{:.1e}", number);
}

}  // namespace shadingctl
