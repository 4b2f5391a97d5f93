#define XXH_INLINE_ALL  // the header alone, so that no library for the phone's processor is needed
#include <xxhash.h>

#include "hosting/QuotedText.h"
#include "hosting/UnusableInput.h"
#include "tools/shadingctl/commands/replay/ReplayRun.h"

namespace shadingctl {
namespace {

std::string DigestText(ResultChecks const& checks) {
  return checks.Digest() ? fmt::format("Digest     {} of the rows as CSV\n", *checks.Digest()) : std::string();
}

std::string SummaryText(ReplayRun const& run, std::optional<std::size_t> width) {
  RowSelection const& rows = run.arguments.settings.rows;
  bool const isSelection = !rows.none && !rows.IsAll();
  std::string const shown = isSelection ? fmt::format("Shown      {} of {} frames; the summary is of all\n",
                                                      run.shownFrames, run.summaries.Frames())
                                        : std::string();
  return hosting::EscapedLines(shown + run.summaries.Text(width) + DigestText(run.checks));
}

// The summary goes to the stream that does not carry the result, or nowhere if it is part of the result.
enum class SummaryPlace { kNone, kOutput, kErrors };

SummaryPlace PlaceOf(ReplayArguments const& arguments) {
  auto const& [format, output] = arguments.result;
  bool const resultIsShown = output == kStandardOutput;
  if (arguments.quiet || (resultIsShown && format == Format::kJson)) return SummaryPlace::kNone;
  bool const isTaken = (resultIsShown && format == Format::kCsv) || arguments.log == kStandardOutput;
  return isTaken ? SummaryPlace::kErrors : SummaryPlace::kOutput;
}

}  // namespace

struct ResultChecks::Digester {
  Digester() {
    XXH3_128bits_reset(&state);
    Add(CsvHeader());
  }

  void Add(std::string const& text) { XXH3_128bits_update(&state, text.data(), text.size()); }

  std::string Text() const {
    XXH128_hash_t const hash = XXH3_128bits_digest(&state);
    return fmt::format("xxh128:{:016x}{:016x}", hash.high64, hash.low64);
  }

  XXH3_state_t state;
};

ResultChecks::ResultChecks(ReplayArguments const& arguments) : mGates(arguments.gates) {
  if (!arguments.golden.empty()) {
    mGolden.emplace(arguments.golden, DiffOptions{0, 5});
    ResultHead const& head = mGolden->HeadOfA();
    // A column that is left out would not be checked.
    if (!head.firstLeftOut.empty()) throw hosting::UnusableInput(LeftOutText(head));
  }
  if (arguments.digest) mDigester = std::make_unique<Digester>();
}

ResultChecks::~ResultChecks() = default;

void ResultChecks::Add(FrameResult const& row) {
  if (mGolden) mGolden->Add(RowOf(row));
  if (mDigester) mDigester->Add(CsvRow(row));
}

void ResultChecks::Finish(Summaries const& summaries, bool isComplete) {
  if (mDigester) mDigest = mDigester->Text();
  if (!isComplete) return;
  if (mGolden) mComplaints = ComplaintsOf(mGolden->Finish());
  for (std::string& reason : FailedGates(mGates, summaries)) mComplaints.push_back(std::move(reason));
}

void FinishReplay(ReplayRun& run) {
  ReplayArguments const& arguments = run.arguments;
  bool const isComplete = run.error.empty();
  bool const isResult = arguments.settings.rows.none && arguments.result.format != Format::kJson &&
                        (isComplete || !run.output.IsHeldBack());
  SummaryPlace const place = isResult ? SummaryPlace::kNone : PlaceOf(arguments);
  std::optional<OutputFile> console;
  if (place == SummaryPlace::kOutput) console.emplace(kStandardOutput);
  OutputFile const* const shownBy = isResult ? &run.output : console ? &*console : nullptr;
  std::string const summary = SummaryText(run, shownBy != nullptr ? shownBy->TerminalWidth() : std::nullopt);
  if (isResult) run.output.Write(summary);
  auto const finished = [&](OutputFile* file) -> OutputFile* {
    if (file == nullptr || isComplete || !file->IsHeldBack()) return file;
    Tell(fmt::format("{}: not written, as the replay is not complete", file->Name()));
    return nullptr;
  };
  OutputFile* const output = finished(&run.output);
  OutputFile* const log = finished(run.log ? &*run.log : nullptr);
  OutputFile* const report = finished(run.report ? &*run.report : nullptr);
  // Complete before a file gets its name, as a failure is one of the whole.
  if (console) console->Write((arguments.result.output == kStandardOutput ? "\n" : "") + summary);
  OutputFile::FinishAll({output, log, report, console ? &*console : nullptr});
  if (place == SummaryPlace::kErrors) TellPlainly(summary);
  if (arguments.quiet) TellPlainly(DigestText(run.checks));
}

int TellProblems(ReplayRun const& run) {
  if (!run.complaint.empty()) Tell(run.complaint);
  if (run.summaries.CountOf(Match::kStart) == 0 && run.error.empty()) {
    Tell(run.summaries.Frames() == 0 ? "NOTHING MATCHED: no position was computed"
                                     : "NOTHING MATCHED: not one frame has a sample at its start");
  }
  std::string const dumps = run.dumps.Complaint(run.arguments.dumpDirectory);
  if (!dumps.empty()) Tell(dumps);
  if (!run.error.empty()) Tell(run.error);
  if (run.exitCode != kExitDone) return run.exitCode;
  if (!dumps.empty()) return kExitUnusable;
  for (std::string const& complaint : run.checks.Complaints()) Tell(complaint);
  bool const differs = run.summaries.DifferentAnswers() > 0 || !run.checks.Complaints().empty();
  return differs ? kExitDifference : kExitDone;
}

}  // namespace shadingctl
