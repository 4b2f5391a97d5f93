// The result of a replay in one of three formats, row by row. docs/replay-output.md describes them.
#pragma once

#include <memory>
#include <string>

#include "tools/shadingctl/output/OutputFile.h"
#include "tools/shadingctl/replay/FrameResult.h"
#include "tools/shadingctl/replay/Summary.h"

namespace shadingctl {

enum class Format { kTable, kCsv, kJson };

// What was replayed, and how.
struct ReplaySettings {
  std::string session;
  std::string library;
  int camera = 0;
  int sensorType = 0;
  int type = 0;
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
  virtual void End(Summary const& summary) = 0;
};

// A writer for `format`; `output` must outlive it.
std::unique_ptr<ResultWriter> MakeResultWriter(Format format, OutputFile& output);

}  // namespace shadingctl
