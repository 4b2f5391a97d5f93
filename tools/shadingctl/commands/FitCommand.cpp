#include "hosting/QuotedText.h"
#include "recording/Recording.h"
#include "tools/shadingctl/commands/Options.h"
#include "tools/shadingctl/fit/BenchSession.h"

namespace shadingctl {
namespace {

struct FitArguments {
  std::string recording;
  Reference reference;
  std::optional<std::int32_t> camera;
  FitOptions fit;
  bool check = false;
  ResultOptions result;
};

int Fit(FitArguments const& arguments) {
  std::string const& reference = arguments.reference.path;
  std::vector<std::string> inputs = {reference};
  AddRecordingFiles(recording::RecordingDirectory(arguments.recording), inputs);
  RefuseOverwriting(inputs, {arguments.result.output});
  OutputFile output(arguments.result.output);
  BenchSession const session = ReadBenchSession(arguments.recording, arguments.reference, arguments.camera);
  if (session.skipped > 0) Tell(fmt::format("{}: {} rows could not be read; left out", reference, session.skipped));
  for (std::string const& remark : session.remarks) Tell(remark);
  if (session.unknown > 0) {
    Tell(fmt::format("{}: {} frames are not in the recording, or before its first readout time; left out", reference,
                     session.unknown));
  }
  ReferenceFit const fit = FitReference(session.samples, session.frames, arguments.fit);
  auto const document = FitDocument(fit, session);
  output.Write(arguments.result.format == Format::kCsv    ? CsvText(FitRows(document))
               : arguments.result.format == Format::kJson ? JsonText(document)
                                                          : hosting::EscapedLines(FitText(document)));
  output.Finish();
  if (fit.refused) Tell(fmt::format("{}: {}", reference, fit.refused->text));
  if (fit.refused) return kExitUnusable;
  return arguments.check && VerdictOf(fit) != "agrees" ? kExitDifference : kExitDone;
}

void AddMapping(std::vector<std::string> const& texts, ReferenceColumns& columns) {
  for (std::string const& text : texts) {
    std::string const field = text.substr(0, text.find('='));
    bool const isMapping = (field == "frame" || field == "x" || field == "y") && text.size() > field.size() + 1;
    if (!isMapping || !columns.emplace(field, text.substr(field.size() + 1)).second) {
      throw CLI::ValidationError(
          "--map", fmt::format("expected FIELD=COLUMN, where FIELD is frame, x or y, each once, found '{}'", text));
    }
  }
}

void AddOptions(CLI::App& command, FitArguments& arguments) {
  command.add_option("RECORDING", arguments.recording, "Recording (its directory or a file of it)")
      ->required()
      ->check(RefuseStandardStream);
  command.add_option("--reference", arguments.reference.path, "File that says where the image stood in each frame")
      ->required()
      ->check(RefuseStandardStream);
  command
      .add_option_function<std::vector<std::string>>(
          "--map",
          [&arguments](std::vector<std::string> const& texts) { AddMapping(texts, arguments.reference.columns); },
          "The reference's column for frame, x or y; once for each")
      ->type_name("FIELD=COLUMN")
      ->expected(1)
      ->take_all();
  command.add_flag("--skip-bad", arguments.reference.skipBad, "Leave out rows of the reference that cannot be read");
  command.add_flag("--check", arguments.check, "End with 1 unless the verdict is agrees");
  AddNumber(command, "--camera", arguments.camera, std::int32_t{0}, std::int32_t{2147483647},
            "Of a recording with several cameras, the one that the reference shows");
  AddNumber(command, "--search-us", arguments.fit.searchUs, 5000.0, 200000.0,
            "The lag is sought from minus to plus this, and two frame intervals further");
  AddResultOptions(command, arguments.result);
}

}  // namespace

Command AddFitCommand(CLI::App& command) { return MakeCommand(command, AddOptions, Fit); }

}  // namespace shadingctl
