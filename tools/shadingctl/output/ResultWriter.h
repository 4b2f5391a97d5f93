// The result of a replay in one of three formats, row by row. docs/replay-output.md describes them.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "tools/shadingctl/output/OutputFile.h"
#include "tools/shadingctl/replay/FrameResult.h"
#include "tools/shadingctl/replay/Summaries.h"

namespace shadingctl {

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
};

// Keeps nothing but the row at hand.
class ResultWriter {
 public:
  virtual ~ResultWriter() = default;
  virtual void Begin(ReplaySettings const& settings) = 0;
  virtual void Add(FrameResult const& result) = 0;
  virtual void End(Summaries const& summaries) = 0;
};

// A writer for `format`; `output` must outlive it.
std::unique_ptr<ResultWriter> MakeResultWriter(Format format, OutputFile& output);

}  // namespace shadingctl
