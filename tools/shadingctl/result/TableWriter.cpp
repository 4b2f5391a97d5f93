#include <fmt/format.h>

#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include "hosting/QuotedText.h"
#include "tools/shadingctl/result/ResultWriter.h"
#include "tools/shadingctl/result/TableLayout.h"

namespace shadingctl {
namespace {

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
    mOutput.Write(fmt::format("{}: {}{}, {}, mode {}, log level {}{}\n\n", hosting::Escaped(settings.session),
                              settings.camera ? fmt::format("camera {}", *settings.camera) : "cameras as recorded",
                              settings.sensorType ? fmt::format(", sensor type {}", *settings.sensorType) : "",
                              settings.type ? fmt::format("frame type {}", *settings.type) : "frame types as recorded",
                              ModeText(settings.mode), settings.logLevel,
                              settings.resetMatched ? ", flag cleared before each frame" : ""));
  }

  void Add(FrameResult const& r) override {
    if (mLayout.columns.empty()) WriteHead(std::to_string(r.frame).size());
    std::vector<std::string> cells;
    for (TableColumn const& column : mLayout.columns) cells.push_back(column.cell(r, column));
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
