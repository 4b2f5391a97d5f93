#include "tools/shadingctl/commands/replay/ReplayEnding.h"

#include <fmt/format.h>

#include <optional>

#include "hosting/QuotedText.h"
#include "tools/shadingctl/output/Console.h"

namespace shadingctl {
namespace {

std::string DigestText(ResultChecks const& checks) {
  return checks.Digest() ? fmt::format("Digest     {} of the rows as CSV\n", *checks.Digest()) : std::string();
}

std::string SummaryText(ReplayArguments const& arguments, Ending const& ending, Summaries const& summaries,
                        ResultChecks const& checks, std::optional<std::size_t> width) {
  RowSelection const& rows = arguments.rows;
  bool const isSelection = !rows.none && !rows.IsAll();
  std::string const shown = isSelection ? fmt::format("Shown      {} of {} frames; the summary is of all\n",
                                                      ending.shownFrames, summaries.Frames())
                                        : std::string();
  return hosting::EscapedLines(shown + summaries.Text(width) + DigestText(checks));
}

// The summary goes to the stream that does not carry the result; nowhere where it is part of that.
enum class SummaryPlace { kNone, kOutput, kErrors };

SummaryPlace PlaceOf(ReplayArguments const& arguments) {
  bool const resultIsShown = arguments.output == kStandardOutput;
  if (arguments.quiet || (resultIsShown && arguments.format == Format::kJson)) return SummaryPlace::kNone;
  bool const isTaken = (resultIsShown && arguments.format == Format::kCsv) || arguments.log == kStandardOutput;
  return isTaken ? SummaryPlace::kErrors : SummaryPlace::kOutput;
}

}  // namespace

void FinishReplay(ReplayArguments const& arguments, Ending const& ending, Summaries const& summaries,
                  ResultChecks const& checks, ReplayFiles const& files) {
  bool const isComplete = ending.error.empty();
  bool const isResult =
      arguments.rows.none && arguments.format != Format::kJson && (isComplete || !files.output->IsHeldBack());
  SummaryPlace const place = isResult ? SummaryPlace::kNone : PlaceOf(arguments);
  std::optional<OutputFile> console;
  if (place == SummaryPlace::kOutput) console.emplace(kStandardOutput);
  OutputFile const* const shownBy = isResult ? files.output : console ? &*console : nullptr;
  std::string const summary =
      SummaryText(arguments, ending, summaries, checks, shownBy != nullptr ? shownBy->TerminalWidth() : std::nullopt);
  if (isResult) files.output->Write(summary);
  auto const finished = [&](OutputFile* file) -> OutputFile* {
    if (file == nullptr || isComplete || !file->IsHeldBack()) return file;
    Tell(fmt::format("{}: not written, as the replay is not complete", file->Name()));
    return nullptr;
  };
  OutputFile* const output = finished(files.output);
  OutputFile* const log = finished(files.log);
  OutputFile* const report = finished(files.report);
  // Complete before a file gets its name, as a failure is one of the whole.
  if (console) console->Write((arguments.output == kStandardOutput ? "\n" : "") + summary);
  OutputFile::FinishAll({output, log, report, console ? &*console : nullptr});
  if (place == SummaryPlace::kErrors) TellPlainly(summary);
  if (arguments.quiet) TellPlainly(DigestText(checks));
}

int TellProblems(ReplayArguments const& arguments, Ending const& ending, Summaries const& summaries,
                 ResultChecks const& checks) {
  if (!ending.complaint.empty()) Tell(ending.complaint);
  if (summaries.CountOf(Match::kStart) == 0 && ending.error.empty()) {
    Tell(summaries.Frames() == 0 ? "NOTHING MATCHED: no position was computed"
                                 : "NOTHING MATCHED: not one frame has a sample at its start");
  }
  std::string const dumps = ending.dumps.Complaint(arguments.dumpDirectory);
  if (!dumps.empty()) Tell(dumps);
  if (!ending.error.empty()) Tell(ending.error);
  if (ending.exitCode != kExitDone) return ending.exitCode;
  if (!dumps.empty()) return kExitUnusable;
  for (std::string const& complaint : checks.Complaints()) Tell(complaint);
  bool const differs = summaries.DifferentAnswers() > 0 || !checks.Complaints().empty();
  return differs ? kExitDifference : kExitDone;
}

}  // namespace shadingctl
