#include <fmt/format.h>

#include <cmath>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include "tools/shadingctl/result/ResultWriter.h"
#include "tools/shadingctl/result/TableLayout.h"

namespace shadingctl {
namespace {

constexpr int kTimeDecimals = 3;
constexpr int kPositionDecimals = 4;  // where it has less room than its nine digits take

std::string ModeText(std::string const& mode) {
  return mode == "middle" ? "middle (of an even number the lower one)" : mode;
}

char const* ColorOf(Match match) {
  switch (match) {
    case Match::kStart:
      return kGreen;
    case Match::kCarried:
      return kYellow;
    case Match::kNoStart:
    case Match::kSingle:
    case Match::kNoWindow:
      return kRed;
    case Match::kWarmUp:
    case Match::kOff:
      return kFaint;
  }
  return kPlain;
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
    mOutput.Write(fmt::format("{}: {}{}, {}, mode {}, log level {}{}\n\n", settings.session,
                              settings.camera ? fmt::format("camera {}", *settings.camera) : "cameras as recorded",
                              settings.sensorType ? fmt::format(", sensor type {}", *settings.sensorType) : "",
                              settings.type ? fmt::format("frame type {}", *settings.type) : "frame types as recorded",
                              ModeText(settings.mode), settings.logLevel,
                              settings.resetMatched ? ", flag cleared before each frame" : ""));
  }

  void Add(FrameResult const& r) override {
    if (mLayout.columns.empty()) WriteHead(std::to_string(r.frame).size());
    std::vector<std::string> cells;
    for (TableColumn const& column : mLayout.columns) cells.push_back(Cell(column, r));
    mOutput.Write(TableRow(mLayout, cells, r.message, mUsesColor ? ColorOf(r.match) : nullptr));
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

  std::string Cell(TableColumn const& column, FrameResult const& r) const {
    switch (column.column) {
      case TableCell::kCamera:
        return std::to_string(r.camera);
      case TableCell::kFrame:
        return std::to_string(r.frame);
      case TableCell::kTime:
        return FitNumber(static_cast<double>(r.sinceFirstNs) / 1e9, column.width, kTimeDecimals);
      case TableCell::kMatch:
        return Name(r.match);
      case TableCell::kSamples:
        return OrEmpty(r.samples);
      case TableCell::kSpan:
        return r.startIndex && r.endIndex ? fmt::format("{}-{}", *r.startIndex, *r.endIndex) : "";
      case TableCell::kOffset:
        return OrEmpty(r.offsetUs);
      case TableCell::kDistance:
        // Only of a start. How far away the span of another frame begins, its age says.
        return r.startDistanceUs && r.startFound ? fmt::format("{}/{}", *r.startDistanceUs, kToleranceUs) : "";
      case TableCell::kAge:
        return OrEmpty(r.spanAgeUs);
      case TableCell::kHallX:
        return PositionCell(column, r.hallX);
      case TableCell::kHallY:
        return PositionCell(column, r.hallY);
      case TableCell::kCoverage:
        return r.coverage ? fmt::format("{:.0f}", std::floor(100 * *r.coverage)) : "";  // 100 is all of it
    }
    return {};
  }

  std::string PositionCell(TableColumn const& column, std::optional<double> const& position) const {
    if (!position) return {};
    return mLayout.narrow ? FitNumber(*position, column.width, kPositionDecimals) : PositionText(*position);
  }

  OutputFile& mOutput;
  bool mUsesColor;
  bool mShowsCamera = false;
  bool mShowsRows = true;
  std::optional<std::size_t> mWidth;
  TableLayout mLayout;  // without columns until the head is written
};

}  // namespace

std::unique_ptr<ResultWriter> MakeTableWriter(OutputFile& output, TableStyle const& style) {
  return std::make_unique<TableWriter>(output, style);
}

}  // namespace shadingctl
