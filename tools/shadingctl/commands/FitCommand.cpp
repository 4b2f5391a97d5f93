#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "recording/Recording.h"
#include "tools/shadingctl/commands/Commands.h"
#include "tools/shadingctl/commands/Options.h"
#include "tools/shadingctl/fit/BenchSession.h"
#include "tools/shadingctl/fit/FitFormats.h"
#include "tools/shadingctl/output/Console.h"
#include "tools/shadingctl/output/FileIdentity.h"
#include "tools/shadingctl/output/OutputFile.h"

namespace shadingctl {
namespace {

struct FitArguments {
  std::string recording;
  std::string reference;
  std::optional<std::int32_t> camera;
  FitOptions fit;
  Format format = Format::kTable;
  std::string output;
};

int Fit(FitArguments const& arguments) {
  std::vector<std::string> inputs = {arguments.reference};
  AddRecordingFiles(recording::RecordingDirectory(arguments.recording), inputs);
  RefuseOverwriting(inputs, {arguments.output});
  OutputFile output(arguments.output);
  BenchSession session =
      ReadBenchSession(recording::RecordingDirectory(arguments.recording), arguments.reference, arguments.camera);
  if (session.unknown > 0) {
    Tell(fmt::format("{}: {} frames are not in the recording, or before its first readout time; left out",
                     arguments.reference, session.unknown));
  }
  ReferenceFit const fit = FitReference(HallSignal(std::move(session.samples)), session.frames, arguments.fit);
  output.Write(arguments.format == Format::kCsv    ? FitCsv(fit)
               : arguments.format == Format::kJson ? FitJson(fit, arguments.recording, arguments.reference)
                                                   : FitText(fit));
  output.Finish();
  return kExitDone;
}

constexpr char const* kFitExamples = R"(The reference has the columns frame, x and y: where the image of a fixed target
stood, in any unit. Frames may be missing. docs/bench.md goes from capture to fit.

Exit code: 0 done, whatever the fit says of the library's numbers, 3 unusable input,
or too little motion, too few frames, no variation.

Examples:
  shadingctl fit RECORDING --reference target.csv
  shadingctl fit RECORDING --reference target.csv --format json -o fit.json)";

void AddOptions(CLI::App& command, FitArguments& arguments) {
  command.footer(kFitExamples);
  command.add_option("RECORDING", arguments.recording, "Recording (its directory or a file of it)")
      ->required()
      ->check(RefuseStandardStream);
  command.add_option("--reference", arguments.reference, "File that says where the image stood in each frame")
      ->required()
      ->check(RefuseStandardStream);
  AddNumber(command, "--camera", arguments.camera, std::int32_t{0}, std::int32_t{2147483647},
            "Of a recording with several cameras, the one that the reference shows");
  AddNumber(command, "--search-us", arguments.fit.searchUs, 5000.0, 200000.0,
            "The lag is sought from minus to plus this");
  AddNumber(command, "--resamples", arguments.fit.resamples, std::uint32_t{200}, std::uint32_t{100000},
            "How often the frames are drawn for the intervals");
  AddResultOptions(command, arguments.format, arguments.output);
}

}  // namespace

Command AddFitCommand(CLI::App& command) { return MakeCommand(command, AddOptions, Fit); }

}  // namespace shadingctl
