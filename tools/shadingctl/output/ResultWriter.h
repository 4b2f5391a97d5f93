// The result of a replay in one of three formats, row by row. docs/replay-output.md describes them.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "tools/shadingctl/output/OutputFile.h"
#include "tools/shadingctl/output/RowSelection.h"
#include "tools/shadingctl/output/TerminalColor.h"
#include "tools/shadingctl/replay/FrameResult.h"
#include "tools/shadingctl/replay/Summaries.h"

namespace shadingctl {

// What a JSON result calls itself. The version grows when a field changes its meaning or goes; new fields may come.
constexpr char kReplaySchema[] = "shadingctl-replay";
constexpr int kReplayVersion = 1;

enum class Format { kTable, kCsv, kJson };

// What was replayed, and how.
struct ReplaySettings {
  std::string session;
  std::string library;
  std::optional<int> camera;      // nullopt: several, as recorded
  std::optional<int> sensorType;  // nullopt: as recorded
  std::optional<int> type;        // nullopt: as recorded
  std::string mode;
  int logLevel = 0;
  bool resetMatched = false;
  RowSelection rows;
};

// Keeps nothing but the row at hand.
class ResultWriter {
 public:
  virtual ~ResultWriter() = default;
  virtual void Begin(ReplaySettings const& settings) = 0;
  virtual void Add(FrameResult const& result) = 0;
  // `error` says why the replay ended early; empty when it did not.
  virtual void End(Summaries const& summaries, std::string const& error) = 0;
};

struct TableStyle {
  bool wide = false;  // all columns, also where a terminal has no room for them
  Color color = Color::kAuto;
};

// A writer for `format`; `output` must outlive it. A table shows all columns when the output is no terminal.
std::unique_ptr<ResultWriter> MakeResultWriter(Format format, OutputFile& output, TableStyle const& style);

}  // namespace shadingctl
