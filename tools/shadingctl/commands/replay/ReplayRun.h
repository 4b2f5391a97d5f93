// What `shadingctl replay` is asked for, and its run.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tools/shadingctl/commands/replay/ResultChecks.h"
#include "tools/shadingctl/result/ResultWriter.h"

namespace shadingctl {

struct ReplayArguments {
  std::string recording;  // empty: the built-in session
  std::string output;
  std::string device;
  std::string library;
  std::string log;     // empty: none
  std::string report;  // empty: none
  Format format = Format::kTable;
  std::string mode;  // empty: as the device says
  std::vector<std::string> dumps;
  std::string dumpDirectory;  // with `dumps` only
  std::optional<int> camera;
  std::optional<int> type;
  int logLevel = 4;
  bool resetMatched = false;
  bool quiet = false;
  bool samples = false;  // JSON holds every batch
  RowSelection rows;
  CheckArguments checks;
  TableStyle style;
};

// Answers the exit code.
int RunReplay(ReplayArguments const& arguments);

}  // namespace shadingctl
