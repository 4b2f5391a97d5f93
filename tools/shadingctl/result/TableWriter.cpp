#include "tools/shadingctl/result/TableWriter.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include "hosting/QuotedText.h"
#include "tools/shadingctl/result/ResultWriter.h"

namespace shadingctl {
namespace {

constexpr int kTimeDecimals = 3;
constexpr int kPositionDecimals = 4;  // where it has less room than its nine digits take

std::string PositionCell(TableColumn const& column, std::optional<double> const& position) {
  if (!position) return {};
  return column.narrow ? FitNumber(*position, column.width, kPositionDecimals) : PositionText(*position);
}

// Nine significant digits, as PositionText gives them, take 11 characters, or 13 for most fractions.
constexpr TableColumn kWide[] = {
    {"camera", "", 6, [](FrameResult const& r, TableColumn const&) { return std::to_string(r.camera); }},
    {"frame", "", 10, [](FrameResult const& r, TableColumn const&) { return std::to_string(r.frame); }},
    {"time", "s", 9,
     [](FrameResult const& r, TableColumn const& column) {
       return FitNumber(static_cast<double>(r.sinceFirstNs) / 1e9, column.width, kTimeDecimals);
     }},
    {"match", "", 9, [](FrameResult const& r, TableColumn const&) { return std::string(Name(r.match)); }},
    {"samples", "", 7, [](FrameResult const& r, TableColumn const&) { return OrEmpty(r.samples); }},
    {"span", "entries", 7,
     [](FrameResult const& r, TableColumn const&) {
       return r.startIndex && r.endIndex ? fmt::format("{}-{}", *r.startIndex, *r.endIndex) : std::string();
     }},
    {"offset", "us", 7, [](FrameResult const& r, TableColumn const&) { return OrEmpty(r.offsetUs); }},
    // Only of a start. How far away the span of another frame begins, its age says.
    {"from start", "us/allowed", 10,
     [](FrameResult const& r, TableColumn const&) {
       bool const isStart = r.startDistanceUs && r.startFound;
       return isStart ? fmt::format("{}/{}", *r.startDistanceUs, kToleranceUs) : std::string();
     }},
    {"age", "us", 8, [](FrameResult const& r, TableColumn const&) { return OrEmpty(r.spanAgeUs); }},
    {"hall x", "hall unit", 13,
     [](FrameResult const& r, TableColumn const& column) { return PositionCell(column, r.hallX); }},
    {"hall y", "hall unit", 13,
     [](FrameResult const& r, TableColumn const& column) { return PositionCell(column, r.hallY); }},
    {"covers", "%", 6, [](FrameResult const& r, TableColumn const&) {
       return r.coverage ? fmt::format("{:.0f}", std::floor(100 * *r.coverage)) : std::string();  // 100 is all of it
     }}};
constexpr std::string_view kDropOrder[] = {"covers", "samples", "offset", "span", "from start", "age"};

// Of each kind of match.
constexpr char const* kColors[kMatchCount] = {kGreen, kYellow, kRed, kRed, kRed, kFaint, kFaint};

constexpr std::size_t kNarrowFrame = 5;  // digits
constexpr std::size_t kNarrowTime = 7;   // to 999.999 s
constexpr std::size_t kNarrowPosition = 8;
constexpr std::size_t kShortestNote = 10;  // a terminal that leaves less wraps the lines itself

std::size_t WidthOf(TableLayout const& layout) {
  std::size_t width = 0;
  for (TableColumn const& column : layout.columns) width += column.width + 1;
  return width;
}

void Drop(TableLayout& layout, std::string_view name) {
  auto& columns = layout.columns;
  columns.erase(
      std::find_if(columns.begin(), columns.end(), [&](TableColumn const& column) { return column.name == name; }));
}

void Narrow(TableColumn& column, std::size_t frameDigits) {
  column.narrow = true;
  if (column.name == "frame") column.width = std::max(kNarrowFrame, frameDigits);
  if (column.name == "time") column.width = kNarrowTime;
  if (column.name == "hall x" || column.name == "hall y") column.width = kNarrowPosition;
}

// The end of the part of `text` that fits: at a blank, if there is one.
std::size_t BreakAt(std::string_view text, std::size_t width) {
  if (text.size() <= width) return text.size();
  std::size_t const blank = text.rfind(' ', width);
  return blank == std::string_view::npos || blank == 0 ? width : blank;
}

class TableWriter : public ResultWriter {
 public:
  TableWriter(OutputFile& output, TableStyle const& style)
      : mOutput(output), mUsesColor(UsesColor(style.color, output.IsTerminal())) {
    if (!style.wide) mWidth = output.TerminalWidth();
  }

  void Begin(ReplaySettings const& settings) override {
    mShowsCamera = !settings.camera;
    mShowsRows = !settings.rows.none;
    mOutput.Write(fmt::format("{}: {}{}, {}, mode {}{}, log level {}{}\n\n", hosting::Escaped(settings.session),
                              settings.camera ? fmt::format("camera {}", *settings.camera) : "cameras as recorded",
                              settings.sensorType ? fmt::format(", sensor type {}", *settings.sensorType) : "",
                              settings.type ? fmt::format("frame type {}", *settings.type) : "frame types as recorded",
                              settings.mode, settings.mode == "middle" ? " (of an even number the lower one)" : "",
                              settings.logLevel, settings.resetMatched ? ", flag cleared before each frame" : ""));
  }

  void Add(FrameResult const& r) override {
    if (mLayout.columns.empty()) WriteHead(std::to_string(r.frame).size());
    std::vector<std::string> cells;
    for (TableColumn const& column : mLayout.columns) cells.push_back(column.cell(r, column));
    mOutput.Write(
        TableRow(mLayout, cells, r.message, mUsesColor ? kColors[static_cast<std::size_t>(r.match)] : nullptr));
  }

  void End(ResultEnd const& /*end*/) override {
    if (mLayout.columns.empty() && mShowsRows) WriteHead(0);
  }

 private:
  void WriteHead(std::size_t frameDigits) {
    mLayout = FitTable(mWidth, frameDigits, mShowsCamera);
    std::vector<std::string> names;
    std::vector<std::string> units;
    for (TableColumn const& column : mLayout.columns) {
      names.emplace_back(column.name);
      units.emplace_back(std::strlen(column.unit) <= column.width ? column.unit : "");
    }
    mOutput.Write(TableRow(mLayout, names, "note") + TableRow(mLayout, units, ""));
  }

  OutputFile& mOutput;
  bool mUsesColor;
  bool mShowsCamera = false;
  bool mShowsRows = true;
  std::optional<std::size_t> mWidth;
  TableLayout mLayout;  // without columns until the head is written
};

}  // namespace

TableLayout FitTable(std::optional<std::size_t> width, std::size_t frameDigits, bool withCamera) {
  TableLayout layout;
  layout.columns.assign(std::begin(kWide), std::end(kWide));
  if (!withCamera) Drop(layout, "camera");
  if (!width) return layout;
  auto const fits = [&] { return WidthOf(layout) + kNoteWidth <= *width; };
  for (std::string_view const dropped : kDropOrder) {
    if (!fits()) Drop(layout, dropped);
  }
  if (!fits()) {
    for (TableColumn& column : layout.columns) Narrow(column, frameDigits);
  }
  if (!fits()) Drop(layout, "time");
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
    bool const isMatch = column.name == "match";
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

std::unique_ptr<ResultWriter> MakeTableWriter(OutputFile& output, TableStyle const& style) {
  return std::make_unique<TableWriter>(output, style);
}

}  // namespace shadingctl
