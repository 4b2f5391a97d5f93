#include <filesystem>

#include "hosting/LibraryNumbers.h"
#include "recording/InputFile.h"
#include "recording/Recording.h"
#include "tools/shadingctl/commands/Options.h"
#include "tools/shadingctl/explain/ExplainWriter.h"
#include "tools/shadingctl/explain/LogExplanation.h"
#include "tools/shadingctl/replay/Replay.h"

namespace shadingctl {
namespace {

struct ExplainArguments {
  std::string source;
  std::optional<std::uint32_t> frame;
  ResultOptions result;
  HostOptions host;
};

ReplaySettings SettingsOf(std::string const& source, std::string const& library, std::string const& mode) {
  ReplaySettings settings;
  settings.session = source;
  settings.library = library;
  settings.mode = mode;
  settings.logLevel = hosting::kDetailLevel;
  return settings;
}

// Writes the end of the result. What was read is shown even where the rest cannot be.
int Finish(ExplainArguments const& arguments, ReadingEnd const& ending, std::string const& name,
           Summaries const& summaries, std::optional<LogReport> const& report, ExplainWriter& writer,
           OutputFile& output) {
  writer.End(summaries, report, name, ending.error);
  bool const isKept = ending.error.empty() || !output.IsHeldBack();
  if (isKept) output.Finish();
  if (!ending.error.empty()) Tell(ending.error);
  if (!isKept) Tell(fmt::format("{}: not written, as the source was not read to its end", output.Name()));
  if (ExitCodeOf(ending) != kExitDone) return ExitCodeOf(ending);
  if (arguments.frame && !writer.HasShown()) {
    Tell(fmt::format("{}: expected frame {}, found none of that number", name, *arguments.frame));
    return kExitUnusable;
  }
  return report && report->different.count > 0 ? kExitDifference : kExitDone;
}

int ExplainLog(ExplainArguments const& arguments, Host const& host) {
  recording::LineReader log(arguments.source);
  OutputFile output(arguments.result.output);
  ExplainWriter writer(output, arguments.result.format, arguments.frame);
  Recomputation recomputation(host.settings, host.library);
  Summaries summaries(hosting::kDetailLevel);
  LogExplanation explanation(log, &recomputation, summaries, [&](ExplainedCall const& call) { writer.Add(call); });
  writer.Begin(SettingsOf(log.Name(), host.library, "as logged"));
  ReadingEnd const ending = ReadToTheEnd([&] { explanation.Read(); });
  explanation.Finish();
  summaries.Close({}, 0);
  return Finish(arguments, ending, log.Name(), summaries, explanation.Report(), writer, output);
}

int ExplainRecording(ExplainArguments const& arguments, Host const& host) {
  auto const session = recording::OpenRecording(arguments.source);
  desktop::DeviceSettings const settings = PlayedSettings(host.settings, session->Settings(), hosting::kDetailLevel);
  desktop::Device& device = desktop::Device::Get();
  device.Configure(settings);
  OutputFile output(arguments.result.output);
  VeyraShadingUtil& library = LoadLibrary(host.library);
  ExplainWriter writer(output, arguments.result.format, arguments.frame);
  Summaries summaries(hosting::kDetailLevel);
  Replay::Options options;
  options.camera = CameraOf(settings, std::nullopt).sensorId;
  writer.Begin(SettingsOf(session->Name(), host.library, "as recorded"));
  auto const onCall = [&](PlayedCall const& played) { summaries.Add(played); };
  auto const onFrame = [&](Frame const& frame) {
    summaries.Of(frame.row.camera).AddComplete(frame.row);
    ExplainedCall explained;
    explained.frame = frame;
    writer.Add(explained);
  };
  ReadingEnd ending;
  {
    Replay replay(library, device, options, {});
    ending = PlaySession(*session, replay, onCall, onFrame);
  }
  summaries.Close(session->Oddities(), 0);
  TellOfRecording(*session);
  return Finish(arguments, ending, session->Name(), summaries, std::nullopt, writer, output);
}

int Explain(ExplainArguments const& given) {
  ExplainArguments arguments = given;
  arguments.source = recording::RecordingDirectory(given.source);
  bool const isRecording = arguments.source != "-" && std::filesystem::is_directory(arguments.source);
  Host const host = ChooseHost(arguments.host);
  std::vector<std::string> inputs = FilesOf(host);
  if (isRecording) AddRecordingFiles(arguments.source, inputs);
  if (!isRecording) inputs.push_back(arguments.source);
  RefuseOverwriting(inputs, {arguments.result.output});
  return isRecording ? ExplainRecording(arguments, host) : ExplainLog(arguments, host);
}

void AddOptions(CLI::App& command, ExplainArguments& arguments) {
  command
      .add_option("SOURCE", arguments.source,
                  "Recording (its directory or a file of it), or a log; - is standard input")
      ->required();
  AddNumber(command, "--frame", arguments.frame, std::uint32_t{0}, std::uint32_t{4294967295},
            "Explain only the frame of this number, step by step");
  AddResultOptions(command, arguments.result);
  AddHostOptions(command, arguments.host);
}

}  // namespace

Command AddExplainCommand(CLI::App& command) { return MakeCommand(command, AddOptions, Explain); }

}  // namespace shadingctl
