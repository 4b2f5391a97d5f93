// The table of a replay: which columns fit into a terminal, and its rows.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tools/shadingctl/frame/Frame.h"

namespace shadingctl {

struct TableColumn {
  std::string_view name;
  char const* unit = "";
  std::size_t width = 0;
  std::string (*cell)(FrameResult const&, TableColumn const&) = nullptr;
  bool narrow = false;  // positions with fewer digits
};

// The columns from left to right; the note stands behind them.
struct TableLayout {
  std::vector<TableColumn> columns;
  std::optional<std::size_t> noteWidth;  // empty: unlimited
};

// The longest note that occurs; longer ones, and all on a terminal of less than 72 columns, are wrapped.
constexpr std::size_t kNoteWidth = 38;

// All columns where `width` is empty. Otherwise, as far as it takes to leave the note its room, columns go in a fixed
// order (coverage, samples, offset, span, distance, age), then the others become narrow, then the time goes.
// `frameDigits` is how many digits the first frame's number has.
TableLayout FitTable(std::optional<std::size_t> width, std::size_t frameDigits, bool withCamera);

// A row with its note, of as many lines as that needs; `cells` are in the order of the layout's columns. `matchColor`
// is that of the kind of match, or null.
std::string TableRow(TableLayout const& layout, std::vector<std::string> const& cells, std::string const& note,
                     char const* matchColor = nullptr);

// In at most `width` characters, wherever that is possible, by way of fewer decimals.
std::string FitNumber(double number, std::size_t width, int decimals);

}  // namespace shadingctl
