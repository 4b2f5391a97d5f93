// What `shadingctl replay` does when the last call has been played: results, summary, problems.
#pragma once

#include <string>

#include "tools/shadingctl/commands/Commands.h"
#include "tools/shadingctl/commands/replay/ReplayRun.h"
#include "tools/shadingctl/dumps/HallDumpFile.h"
#include "tools/shadingctl/output/OutputFile.h"
#include "tools/shadingctl/summary/Summaries.h"

namespace shadingctl {

// How a replay ended, and what it found.
struct Ending {
  std::string error;  // empty: the session was played to its end
  int exitCode = kExitDone;
  std::string complaint;          // about the calls; empty when they went well
  std::uint64_t shownFrames = 0;  // of those that were played
  HallDumpAudit dumps;
};

// Its outputs; null where there is none.
struct ReplayFiles {
  OutputFile* output = nullptr;
  OutputFile* log = nullptr;
  OutputFile* report = nullptr;
};

// Finishes the outputs and shows the summary. Files get their names only when the session was played to its end; what
// was written directly is out already.
void FinishReplay(ReplayArguments const& arguments, Ending const& ending, Summaries const& summaries,
                  ResultChecks const& checks, ReplayFiles const& files);

// Tells what the user must not overlook, and answers the exit code.
int TellProblems(ReplayArguments const& arguments, Ending const& ending, Summaries const& summaries,
                 ResultChecks const& checks);

}  // namespace shadingctl
