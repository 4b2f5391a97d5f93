#include <limits>

#include "hosting/LibraryNumbers.h"
#include "recording/Recording.h"
#include "tools/shadingctl/commands/replay/ReplayRun.h"

namespace shadingctl {
namespace {

FrameRange ParseRange(std::string const& text) {
  constexpr std::uint32_t kLast = std::numeric_limits<std::uint32_t>::max();
  std::size_t const colon = text.find(':');
  if (colon != std::string::npos) {
    auto const first = ParseNumber<std::uint32_t>(text.substr(0, colon), 0, kLast);
    auto const last = ParseNumber<std::uint32_t>(text.substr(colon + 1), 0, kLast);
    if (first && last && *first <= *last) return {*first, *last};
  }
  throw CLI::ValidationError(
      "--range", fmt::format("expected FIRST:LAST, two frame numbers from 0 to {}, found '{}'", kLast, text));
}

void AddRowOptions(CLI::App& command, ReplayArguments& arguments) {
  RowSelection& rows = arguments.settings.rows;
  std::vector<std::string> kinds;
  for (Match const match : kMatches) kinds.emplace_back(Name(match));
  command
      .add_option_function<std::vector<std::string>>(
          "--only",
          [&rows](std::vector<std::string> const& names) {
            for (Match const match : kMatches) {
              if (std::find(names.begin(), names.end(), Name(match)) != names.end()) rows.only.push_back(match);
            }
          },
          "Show these frames only, with commas between")
      ->delimiter(',')
      ->allow_extra_args(false)
      ->check(CLI::IsMember(kinds));
  command
      .add_option_function<std::string>(
          "--range", [&rows](std::string const& text) { rows.range = ParseRange(text); },
          "Show these frames only, both included; all are played")
      ->type_name("FIRST:LAST");
  auto* const summary = command.add_flag("--summary", rows.none, "Show the summary only, no rows");
  command.add_flag("-q,--quiet", arguments.quiet, "Show the rows only: no summary, no progress bar")->excludes(summary);
  command.add_flag("--wide", arguments.style.wide, "All columns of the table, however narrow the terminal is");
  AddChoice<Color>(command, "--color", {{"auto", Color::kAuto}, {"always", Color::kAlways}, {"never", Color::kNever}},
                   arguments.style.color, "Colours in the table; auto: on a terminal, unless NO_COLOR is set")
      ->default_str("auto");
}

void AddCheckOptions(CLI::App& command, ReplayArguments& arguments) {
  Gates& gates = arguments.gates;
  AddFile(command, "--check", arguments.golden,
          "Compare the rows with this result of a former replay, CSV or JSON, in the columns that it has; exit code 1 "
          "where they differ");
  command.add_flag("--digest", arguments.digest, "Tell the 128-bit XXH3 of the rows as CSV (xxh128sum)");
  AddNumber(command, "--fail-below", gates.failBelowPercent, 0.0, 100.0,
            "Exit code 1 unless so many per cent of the frames after the warm-up have both ends near a sample");
  AddNumber(command, "--max-age-us", gates.maxAgeUs, std::int64_t{0}, std::int64_t{1000000000000},
            "Exit code 1 when a frame uses an older position");
  std::vector<std::string> names = {kIncomplete, Name(Severity::kWrong), Name(Severity::kLost)};
  for (FindingKind const& kind : FindingKinds()) names.emplace_back(kind.code);
  command
      .add_option(
          "--fail-on", gates.failOn,
          "Exit code 1 when one of these findings is told (docs/answers.md), with commas between; wrong and lost stand "
          "for all of that severity, incomplete for a recording that is broken, unfinished or has losses")
      ->type_name("CODE")
      ->delimiter(',')
      ->allow_extra_args(false)
      ->check(CLI::IsMember(names).description(""));
}

// Gates need the ends of spans, which the library tells from that level on.
void RefuseGatesBelowDetail(ReplayArguments const& arguments) {
  Gates const& gates = arguments.gates;
  int const logLevel = arguments.settings.logLevel;
  if (logLevel >= hosting::kDetailLevel || (!gates.failBelowPercent && !gates.maxAgeUs && gates.failOn.empty())) return;
  throw CLI::ValidationError(gates.failBelowPercent ? "--fail-below"
                             : gates.maxAgeUs       ? "--max-age-us"
                                                    : "--fail-on",
                             fmt::format("expected --log-level {} or more, found {}", hosting::kDetailLevel, logLevel));
}

int CheckAndRun(ReplayArguments const& arguments) {
  RefuseGatesBelowDetail(arguments);
  if (arguments.settings.samples && arguments.result.format != Format::kJson) {
    throw CLI::ValidationError("--samples", "expected --format json, which alone holds samples");
  }
  return RunReplay(arguments);
}

void AddOptions(CLI::App& command, ReplayArguments& arguments) {
  ReplaySettings& settings = arguments.settings;
  settings.logLevel = hosting::kDetailLevel;
  command
      .add_option_function<std::string>(
          "RECORDING",
          [&arguments](std::string const& name) { arguments.recording = recording::RecordingDirectory(name); },
          "Directory of a recording, or one of its files; without it, a built-in session")
      ->check(RefuseStandardStream);
  AddResultOptions(command, arguments.result);
  AddChoice<int>(command, "--mode", kModes, arguments.mode,
                 "How a span becomes a position (middle: of an even number the lower one); by default as the recording "
                 "or the device says");
  AddChoice<int>(command, "--type", {{"0", 0}, {"1", 1}, {"4", 4}, {"5", 5}, {"6", 6}}, settings.type,
                 "Kind of every frame as the host numbers it: previews 0 and 4, captures 1, 5 and 6; by default as the "
                 "recording says, or else 0");
  AddNumber(
      command, "--camera", settings.camera, std::numeric_limits<int>::min(), std::numeric_limits<int>::max(),
      "Sensor id: leave out what is recorded of other cameras. Where the recording names none, by default the first of "
      "the device's sensor map");
  command.add_flag("--reset-matched", settings.resetMatched,
                   "Clear the flag before each frame: without a start the position stays");
  AddNumber(command, "--log-level", settings.logLevel, 0, 9,
            "The library's own level: below 4 it tells no ages, below 1 no spans");
  auto* const dump = command
                         .add_option("--dump", arguments.dumps,
                                     "Let the library write OIS hall dump files: preview (of frame types 0 and 4), "
                                     "capture (of 1, 5 and 6), or both with a comma between")
                         ->delimiter(',')
                         ->expected(1, 2)
                         ->allow_extra_args(false)
                         ->check(CLI::IsMember({"preview", "capture"}));
  auto* const dumpDirectory =
      command.add_option("--dump-dir", arguments.dumpDirectory,
                         "Where to: one file per matched frame in DIR/data/vendor/camera_dump, which is made");
  dump->needs(dumpDirectory);
  dumpDirectory->needs(dump)->type_name("DIR");
  AddHostOptions(command, arguments.host);
  AddFile(command, "--log", arguments.log, "Write every message of the library to this file; - is standard output");
  AddRowOptions(command, arguments);
  AddFile(command, "--report", arguments.report,
          "Write the page of this replay to this file as well, with all its frames and samples");
  command.add_flag("--samples", settings.samples, "JSON holds every batch of samples as well, for report and trace");
  AddCheckOptions(command, arguments);
}

}  // namespace

Command AddReplayCommand(CLI::App& command) { return MakeCommand(command, AddOptions, CheckAndRun); }

}  // namespace shadingctl
