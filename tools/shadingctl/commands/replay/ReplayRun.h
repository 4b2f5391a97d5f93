// What `shadingctl replay` is asked for, its run, and what it does when the last call has been played.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tools/shadingctl/commands/Options.h"
#include "tools/shadingctl/dumps/HallDumpFile.h"
#include "tools/shadingctl/result/ResultDiff.h"
#include "tools/shadingctl/summary/Gates.h"

namespace shadingctl {

// As the library numbers them.
inline std::vector<std::pair<std::string, int>> const kModes = {
    {"mean", 1}, {"maximum", 2}, {"middle", 3}, {"last", 4}};

struct ReplayArguments {
  std::string recording;  // empty: the built-in session
  ResultOptions result;
  HostOptions host;
  std::string log;          // empty: none
  std::string report;       // empty: none
  ReplaySettings settings;  // what options say of them
  std::optional<int> mode;  // nullopt: as the recording or the device says
  std::vector<std::string> dumps;
  std::string dumpDirectory;  // with `dumps` only
  bool quiet = false;
  TableStyle style;
  std::string golden;  // a result to compare the rows with, CSV or JSON; empty: none
  bool digest = false;
  Gates gates;
};

// What the rows are checked against.
class ResultChecks {
 public:
  // Throws UnusableInput when the golden file cannot be used.
  explicit ResultChecks(ReplayArguments const& arguments);
  ~ResultChecks();

  void Add(FrameResult const& row);

  // All rows were added, or the replay ended early and only the digest of those that were is of any use.
  void Finish(Summaries const& summaries, bool isComplete);

  // "xxh128:" and the 128-bit XXH3 of the rows' CSV text, header included: what `replay --format csv | xxh128sum`
  // prints.
  std::optional<std::string> const& Digest() const { return mDigest; }
  std::vector<std::string> const& Complaints() const { return mComplaints; }

 private:
  Gates mGates;
  std::optional<Comparison> mGolden;
  struct Digester;
  std::unique_ptr<Digester> mDigester;
  std::optional<std::string> mDigest;
  std::vector<std::string> mComplaints;
};

// A replay at work: where its results go, and what came of it so far.
struct ReplayRun {
  ReplayArguments const& arguments;
  OutputFile& output;
  std::optional<OutputFile>& log;
  std::optional<OutputFile>& report;
  Summaries summaries;
  ResultChecks checks;
  std::string error = {};  // empty: the session was played to its end
  int exitCode = kExitDone;
  std::string complaint = {};     // about the calls; empty when they went well
  std::uint64_t shownFrames = 0;  // of those that were played
  HallDumpAudit dumps = {};
};

// Answers the exit code.
int RunReplay(ReplayArguments const& arguments);

// Finishes the outputs and shows the summary. Files get their names only when the session was played to its end; what
// was written directly is out already.
void FinishReplay(ReplayRun& run);

// Tells what the user must not overlook, and answers the exit code.
int TellProblems(ReplayRun const& run);

}  // namespace shadingctl
