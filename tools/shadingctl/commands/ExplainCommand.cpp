#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <deque>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "hosting/HostLibrary.h"
#include "hosting/Interruption.h"
#include "hosting/LibraryNumbers.h"
#include "hosting/LineReader.h"
#include "hosting/Recording.h"
#include "hosting/UnusableInput.h"
#include "tools/shadingctl/commands/Commands.h"
#include "tools/shadingctl/commands/Options.h"
#include "tools/shadingctl/explain/ExplainWriter.h"
#include "tools/shadingctl/explain/LogExplanation.h"
#include "tools/shadingctl/output/Console.h"
#include "tools/shadingctl/output/FileIdentity.h"
#include "tools/shadingctl/output/OutputFile.h"
#include "tools/shadingctl/replay/PendingRows.h"
#include "tools/shadingctl/replay/PlayedSettings.h"
#include "tools/shadingctl/replay/Replay.h"

namespace shadingctl {
namespace {

struct ExplainArguments {
  std::string source;
  std::optional<std::uint32_t> frame;
  Format format = Format::kTable;
  std::string output;
  std::string device;
  std::string library;
};

ReplaySettings SettingsOf(std::string const& source, std::string const& library, std::string const& mode) {
  ReplaySettings settings;
  settings.session = source;
  settings.library = library;
  settings.mode = mode;
  settings.logLevel = hosting::kDetailLevel;
  return settings;
}

// Why there are no more frames, and how the program ends for that.
struct ReadingEnd {
  std::string error;
  int exitCode = kExitDone;
};

template <class Read>
ReadingEnd ReadToTheEnd(Read const& read) {
  try {
    read();
  } catch (hosting::Interrupted const& interrupted) {
    return {interrupted.what(), kExitSignal + hosting::InterruptedBy()};
  } catch (hosting::UnusableInput const& unusable) {
    return {unusable.what(), kExitUnusable};
  }
  return {};
}

// Writes the end of the result. What was read is shown even where the rest cannot be.
int Finish(ExplainArguments const& arguments, ReadingEnd const& ending, std::string const& name,
           Summaries const& summaries, std::optional<LogReport> const& report, ExplainWriter& writer,
           OutputFile& output) {
  writer.End(summaries, report, name, ending.error);
  bool const isKept = ending.error.empty() || !output.IsHeldBack();
  if (isKept) output.Finish();
  if (!ending.error.empty()) Tell(ending.error);
  if (!isKept) Tell(fmt::format("{}: not written, as the source was not read to its end", output.name()));
  if (ending.exitCode != kExitDone) return ending.exitCode;
  if (arguments.frame && !writer.hasShown()) {
    Tell(fmt::format("{}: expected frame {}, found none of that number", name, *arguments.frame));
    return kExitUnusable;
  }
  return report && report->different.count > 0 ? kExitDifference : kExitDone;
}

int ExplainLog(ExplainArguments const& arguments) {
  ChosenDevice const device = ChooseDevice(arguments.device);
  std::string const library = ChooseLibrary(arguments.library);
  std::vector<std::string> inputs = FilesOf(device, library);
  inputs.push_back(arguments.source);
  RefuseOverwriting(inputs, {arguments.output});
  hosting::LineReader log(arguments.source);
  OutputFile output(arguments.output);
  ExplainWriter writer(output, arguments.format, arguments.frame);
  Recomputation recomputation(device.settings, library);
  Summaries summaries(hosting::kDetailLevel);
  LogExplanation explanation(&recomputation, summaries, [&](ExplainedCall const& call) { writer.Add(call); });
  writer.Begin(SettingsOf(log.name(), library, "as logged"));
  ReadingEnd const ending = ReadToTheEnd([&] { explanation.Read(log); });
  explanation.Finish();
  summaries.Close({}, 0);
  return Finish(arguments, ending, log.name(), summaries, explanation.report(), writer, output);
}

// The frames of a recording, played as `replay` plays them.
class RecordingExplanation {
 public:
  RecordingExplanation(Replay& replay, std::int32_t camera, Summaries& summaries, ExplainWriter& writer)
      : mReplay(replay), mCamera(camera), mSummaries(summaries), mWriter(writer) {}

  void Play(hosting::Session& session) {
    for (hosting::Call call; session.Next(call);) {
      if (auto const* update = std::get_if<hosting::UpdateSensorData>(&call.operation)) {
        for (auto const& sample : update->batch) mRows.AddSample(call.camera.value_or(mCamera), sample);
      }
      if (auto row = mReplay.Play(call, mSummaries)) {
        mRows.Add(std::move(*row));
        mFacts.push_back(mReplay.latestFacts());
      }
      while (auto row = mRows.Take()) Show(std::move(*row));
    }
  }

  void Finish() {
    while (auto row = mRows.TakeAnyway()) Show(std::move(*row));
  }

 private:
  void Show(FrameResult row) {
    mSummaries.Of(row.camera).AddComplete(row);
    ExplainedCall explained;
    explained.row = std::move(row);
    explained.facts = mFacts.front();
    mFacts.pop_front();
    mWriter.Add(explained);
  }

  Replay& mReplay;
  std::int32_t mCamera;
  Summaries& mSummaries;
  ExplainWriter& mWriter;
  PendingRows mRows;
  std::deque<FrameFacts> mFacts;  // one for each row that waits
};

int ExplainRecording(ExplainArguments const& arguments) {
  ChosenDevice const chosen = ChooseDevice(arguments.device);
  std::string const path = ChooseLibrary(arguments.library);
  std::vector<std::string> inputs = FilesOf(chosen, path);
  AddRecordingFiles(arguments.source, inputs);
  RefuseOverwriting(inputs, {arguments.output});
  auto const session = hosting::OpenRecording(arguments.source);
  desktop::DeviceSettings const settings = PlayedSettings(chosen.settings, session->settings(), hosting::kDetailLevel);
  desktop::Device& device = desktop::Device::Get();
  device.Configure(settings);
  VeyraShadingUtil& library = hosting::LoadShadingLibrary(path);
  OutputFile output(arguments.output);
  ExplainWriter writer(output, arguments.format, arguments.frame);
  Summaries summaries(hosting::kDetailLevel);
  Replay::Options options;
  options.camera = CameraOf(settings, std::nullopt).sensorId;
  writer.Begin(SettingsOf(session->Name(), path, "as recorded"));
  ReadingEnd ending;
  {
    Replay replay(library, device, options, {});
    RecordingExplanation explanation(replay, options.camera, summaries, writer);
    ending = ReadToTheEnd([&] { explanation.Play(*session); });
    explanation.Finish();
  }
  summaries.Close(session->oddities(), 0);
  TellOfOtherBatches(*session);
  return Finish(arguments, ending, session->Name(), summaries, std::nullopt, writer, output);
}

constexpr char const* kExplainExamples =
    R"(A log is text captured from a phone (adb logcat -v threadtime, or -v long) or
written by `shadingctl replay --log`, with the library at log level 4. Lines may
be missing. Where all lines of a frame are there, the library computes its
position again.

Exit code: 0 done, 1 the library computes something else than is logged,
3 unusable input.

Examples:
  shadingctl explain RECORDING --frame 1234
  adb logcat -v threadtime | shadingctl explain -
  shadingctl explain phone.log --frame 1234
  shadingctl explain phone.log --format json -o explained.json)";

}  // namespace

void AddExplainCommand(CLI::App& app, Command& chosen) {
  auto const arguments = std::make_shared<ExplainArguments>();
  CLI::App* const command = app.add_subcommand("explain", "Say in plain words what became of a frame, and why");
  command->footer(kExplainExamples);
  command
      ->add_option("SOURCE", arguments->source,
                   "Recording (its directory or a file of it), or a log; - is standard input")
      ->required();
  AddNumber(*command, "--frame", arguments->frame, std::uint32_t{0}, std::uint32_t{4294967295},
            "Explain only the frame of this number, step by step");
  AddResultOptions(*command, arguments->format, arguments->output);
  AddHostOptions(*command, arguments->device, arguments->library);
  command->callback([arguments, &chosen] {
    chosen = [arguments] {
      arguments->source = hosting::RecordingDirectory(arguments->source);
      bool const isRecording = arguments->source != "-" && std::filesystem::is_directory(arguments->source);
      return isRecording ? ExplainRecording(*arguments) : ExplainLog(*arguments);
    };
  });
}

}  // namespace shadingctl
