#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <chrono>
#include <filesystem>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "hosting/HostLibrary.h"
#include "hosting/Interruption.h"
#include "hosting/Recording.h"
#include "hosting/UnusableInput.h"
#include "tools/shadingctl/commands/Commands.h"
#include "tools/shadingctl/commands/Options.h"
#include "tools/shadingctl/dumps/HallDumpFolder.h"
#include "tools/shadingctl/output/Console.h"
#include "tools/shadingctl/output/FileIdentity.h"
#include "tools/shadingctl/output/OutputFile.h"
#include "tools/shadingctl/output/Progress.h"
#include "tools/shadingctl/output/ResultWriter.h"
#include "tools/shadingctl/replay/DeviceCameras.h"
#include "tools/shadingctl/replay/PendingRows.h"
#include "tools/shadingctl/replay/Replay.h"
#include "tools/shadingctl/session/SyntheticSession.h"

namespace shadingctl {
namespace {

constexpr char const* kLogProperty = "vendor.veyra.3a.lscutil.log";
constexpr char const* kModeProperty = "vendor.debug.ois.hall.calculation";
constexpr char const* kPreviewDumpProperty = "vendor.debug.preview.lsc.ois.dump";
constexpr char const* kCaptureDumpProperty = "vendor.debug.capture.lsc.ois.dump";
constexpr int kEveryMessage = 5;  // the logging library's most talkative setting

std::map<std::string, int> const kModes = {{"mean", 1}, {"maximum", 2}, {"middle", 3}, {"last", 4}};

struct Arguments {
  std::string recording;  // empty: the built-in session
  std::string output;
  std::string device;
  std::string library;
  std::string log;  // empty: none
  Format format = Format::kTable;
  std::string mode;  // empty: as the device says
  std::vector<std::string> dumps;
  std::string dumpDirectory;  // with `dumps` only
  std::optional<int> camera;
  std::optional<int> type;
  int logLevel = 4;
  bool resetMatched = false;
  bool quiet = false;
  bool wide = false;
};

bool Dumps(Arguments const& arguments, DumpKind kind) {
  return std::find(arguments.dumps.begin(), arguments.dumps.end(), Name(kind)) != arguments.dumps.end();
}

// Called when everything with a relative path is open. Without a `type`, the recording says that of each frame.
void StartDumping(Arguments const& arguments, std::optional<int> type) {
  if (arguments.dumps.empty()) return;
  bool const isPreview = type == kShadingPreview || type == kShadingPreviewPair2;
  DumpKind const kind = isPreview ? DumpKind::kPreview : DumpKind::kCapture;
  if (type && !Dumps(arguments, kind)) {
    Tell(fmt::format("frames of type {} write {} dumps, which --dump does not name: there will be none", *type,
                     Name(kind)));
  }
  SendDumpsBelow(arguments.dumpDirectory);
}

// Options win over the recording, and the recording over the device.
desktop::DeviceSettings SettingsFor(Arguments const& arguments, hosting::Settings const& recorded,
                                    desktop::DeviceSettings settings) {
  if (recorded.cameras) SetCameras(*recorded.cameras, settings);
  if (recorded.calculationMode) settings.properties[kModeProperty] = *recorded.calculationMode;
  settings.properties[kLogProperty] = arguments.logLevel;
  if (!arguments.mode.empty()) settings.properties[kModeProperty] = kModes.at(arguments.mode);
  if (!arguments.dumps.empty()) {
    settings.properties[kPreviewDumpProperty] = Dumps(arguments, DumpKind::kPreview) ? 1 : 0;
    settings.properties[kCaptureDumpProperty] = Dumps(arguments, DumpKind::kCapture) ? 1 : 0;
  }
  settings.log.systemLog = true;  // the tool reads the library's messages there
  settings.log.maximumLevel = kEveryMessage;
  return settings;
}

std::string ModeOf(desktop::DeviceSettings const& settings) {
  auto const property = settings.properties.find(kModeProperty);
  int const mode = property == settings.properties.end() ? 1 : property->second;
  for (auto const& [name, value] : kModes) {
    if (value == mode) return name;
  }
  return fmt::format("{} (none)", mode);
}

// A recording may be opened again later on, so it keeps its place when dumps change the working directory.
std::unique_ptr<hosting::Session> OpenSession(std::string const& recording, bool keepsPlace) {
  if (recording.empty()) return std::make_unique<SyntheticSession>(SyntheticOptions{});
  return hosting::OpenRecording(keepsPlace ? std::filesystem::absolute(recording).string() : recording);
}

MessageSink SinkInto(std::optional<OutputFile>& log) {
  if (!log) return {};
  return [&log](std::optional<std::uint32_t> frame, std::string_view message) {
    log->WriteQuietly(frame ? fmt::format("{}: {}\n", *frame, message) : fmt::format("-: {}\n", message));
  };
}

// How a replay ended.
struct Ending {
  std::string error;  // empty: the session was played to its end
  int exitCode = kExitDone;
};

// The next call; none at the end of the session, and where it is broken or the user has had enough.
bool NextCall(hosting::Session& session, hosting::Call& call, Ending& ending) {
  try {
    if (hosting::InterruptedBy() != 0) throw hosting::Interrupted();
    return session.Next(call);
  } catch (hosting::Interrupted const& interrupted) {
    ending = {interrupted.what(), kExitSignal + hosting::InterruptedBy()};
  } catch (hosting::UnusableInput const& unusable) {
    ending = {unusable.what(), kExitUnusable};
  }
  return false;
}

Ending PlayAll(hosting::Session& session, Replay& replay, ResultWriter& writer, Summaries& summaries,
               std::int32_t camera, bool quiet) {
  Ending ending;
  auto const start = std::chrono::steady_clock::now();
  PendingRows pending;
  auto const show = [&](FrameResult const& row) {
    summaries.Of(row.camera).AddComplete(row);
    writer.Add(row);
  };
  {
    Progress progress(!quiet, [&] { return session.FrameCount(); });
    for (hosting::Call call; NextCall(session, call, ending);) {
      if (auto const* update = std::get_if<hosting::UpdateSensorData>(&call.operation)) {
        for (auto const& sample : update->batch) pending.AddSample(call.camera.value_or(camera), sample);
      }
      if (std::optional<FrameResult> result = replay.Play(call, summaries)) {
        pending.Add(std::move(*result));
        progress.Step();
      }
      while (auto const row = pending.Take()) show(*row);
    }
  }
  while (auto const row = pending.TakeAnyway()) show(*row);
  std::chrono::nanoseconds const passed = std::chrono::steady_clock::now() - start;
  summaries.Close(session.oddities(), passed.count());
  return ending;
}

// What the user must not overlook, although the replay went well.
void TellProblems(Summaries const& summaries, std::string const& complaint, Ending const& ending) {
  if (!complaint.empty()) Tell(complaint);
  if (summaries.CountOf(Match::kStart) == 0 && ending.error.empty()) {
    Tell(summaries.frames() == 0 ? "NOTHING MATCHED: no position was computed"
                                 : "NOTHING MATCHED: not one frame has a sample at its start");
  }
  if (!ending.error.empty()) Tell(ending.error);
}

// Files get their names when the replay is complete only; what was written directly is out already.
void FinishOutputs(OutputFile& output, std::optional<OutputFile>& log, Ending const& ending) {
  auto const finished = [&](OutputFile& file) -> OutputFile* {
    if (ending.error.empty() || !file.IsHeldBack()) return &file;
    Tell(fmt::format("{}: not written, as the replay is not complete", file.name()));
    return nullptr;
  };
  OutputFile* const outputOrNone = finished(output);
  OutputFile::FinishAll({outputOrNone, log ? finished(*log) : nullptr});
}

// The summary stands where it does not mix with what another program reads.
void ShowSummary(Summaries const& summaries, Arguments const& arguments) {
  if (arguments.quiet) return;
  bool const rowsAreShown = arguments.output == kStandardOutput;
  if (rowsAreShown && arguments.format == Format::kJson) return;  // it is part of the object
  if ((rowsAreShown && arguments.format == Format::kCsv) || arguments.log == kStandardOutput) {
    TellPlainly(summaries.Text());
    return;
  }
  OutputFile console(kStandardOutput);
  console.Write((rowsAreShown ? "\n" : "") + summaries.Text());
  console.Finish();
}

void RefuseOverwritingInputs(Arguments const& arguments, ChosenDevice const& device, std::string const& library) {
  std::vector<std::string> inputs = FilesOf(device, library);
  if (!arguments.recording.empty()) {
    for (char const* const file : {"/recording.csv", "/calls.csv", "/frames.csv", "/hall.csv"}) {
      inputs.push_back(arguments.recording + file);
    }
  }
  std::vector<std::string> outputs = {arguments.output};
  if (!arguments.log.empty()) outputs.push_back(arguments.log);
  RefuseOverwriting(inputs, outputs);
}

Replay::Options OptionsFrom(Arguments const& arguments, desktop::DeviceSettings const& settings) {
  Replay::Options options;
  options.camera = CameraOf(settings, arguments.camera);
  options.onlyCamera = arguments.camera.has_value();
  options.type = arguments.type;
  options.resetMatched = arguments.resetMatched;
  // Whoever asks for something else than what was recorded expects other answers.
  options.checkAnswers = arguments.mode.empty() && !arguments.type && !arguments.resetMatched;
  return options;
}

ReplaySettings SettingsOf(Arguments const& arguments, hosting::Session const& session, Replay::Options const& options,
                          std::string const& library, std::string const& mode) {
  hosting::Settings const& recorded = session.settings();
  ReplaySettings settings;
  settings.session = session.Name();
  settings.library = library;
  bool const isOneCamera =
      !recorded.recordsCalls || arguments.camera || (recorded.cameras && recorded.cameras->size() == 1);
  if (isOneCamera) settings.camera = options.camera.sensorId;
  if (!recorded.recordsCalls) settings.sensorType = options.camera.sensorType;
  settings.type = arguments.type;
  if (!recorded.recordsCalls && !arguments.type) settings.type = kShadingPreview;
  settings.mode = mode;
  settings.logLevel = arguments.logLevel;
  settings.resetMatched = arguments.resetMatched;
  return settings;
}

int RunReplay(Arguments const& arguments) {
  ChosenDevice const chosen = ChooseDevice(arguments.device);
  std::string const path = ChooseLibrary(arguments.library);
  RefuseOverwritingInputs(arguments, chosen, path);
  std::unique_ptr<hosting::Session> const session = OpenSession(arguments.recording, !arguments.dumps.empty());
  desktop::Device& device = desktop::Device::Get();
  desktop::DeviceSettings const settings = SettingsFor(arguments, session->settings(), chosen.settings);
  device.Configure(settings);
  VeyraShadingUtil& library = hosting::LoadShadingLibrary(path);

  std::optional<OutputFile> log;
  if (!arguments.log.empty()) log.emplace(arguments.log);
  OutputFile output(arguments.output);
  auto const writer = MakeResultWriter(arguments.format, output, arguments.wide);
  Summaries summaries(arguments.logLevel);

  Replay::Options options = OptionsFrom(arguments, settings);
  options.switches = {hosting::FindSwitch(path, "gLogLevel"), hosting::FindSwitch(path, "g_preOisDump"),
                      hosting::FindSwitch(path, "g_capOisDump")};
  ReplaySettings const head = SettingsOf(arguments, *session, options, path, ModeOf(settings));
  StartDumping(arguments, head.type);
  Ending ending;
  std::string complaint;
  {
    Replay replay(library, device, options, SinkInto(log));
    writer->Begin(head);
    ending = PlayAll(*session, replay, *writer, summaries, options.camera.sensorId, arguments.quiet);
    complaint = replay.complaint();
  }
  writer->End(summaries, ending.error);
  FinishOutputs(output, log, ending);
  ShowSummary(summaries, arguments);
  TellProblems(summaries, complaint, ending);
  if (ending.exitCode != kExitDone) return ending.exitCode;
  return summaries.differentAnswers() > 0 ? kExitDifference : kExitDone;
}

constexpr char const* kExamples = R"(Each frame is matched in one way:
  start       a sample within 1500 us of the frame's start
  carried     none, but the flag of an earlier frame made the span begin at the
              oldest end of the window, which may be half a second old
  no_start    none, and no flag: the position stays
  single      a span of one entry: the position stays
  no_window   nothing at or after the frame's time, or too little history
  warm_up     too little history, as the camera has just been started: no failure
  off         the camera is not enabled

Examples:
  shadingctl replay
  shadingctl replay RECORDING --reset-matched
  shadingctl replay RECORDING --format csv --output result.csv
  shadingctl replay --dump preview,capture --dump-dir /tmp/dumps
  shadingctl replay --mode last --log library.log --quiet)";

}  // namespace

void AddReplayCommand(CLI::App& app, Command& chosen) {
  auto const arguments = std::make_shared<Arguments>();
  CLI::App* const command = app.add_subcommand("replay", "Play a recorded or the built-in session to the library");
  command->footer(kExamples);
  command->add_option("RECORDING", arguments->recording, "Directory of a recording; without it, a built-in session");
  AddResultOptions(*command, arguments->format, arguments->output);
  command
      ->add_option(
          "--mode", arguments->mode,
          "How a span becomes a position (middle: of an even number the lower one); by default as the recording "
          "or the device says")
      ->check(CLI::IsMember({"mean", "maximum", "middle", "last"}));
  command
      ->add_option_function<std::string>(
          "--type", [arguments](std::string const& digit) { arguments->type = digit[0] - '0'; },
          "Kind of every frame as the host numbers it: previews 0 and 4, captures 1, 5 and 6; by default as the "
          "recording says, or else 0")
      ->check(CLI::IsMember({"0", "1", "4", "5", "6"}));
  AddNumber(
      *command, "--camera", arguments->camera, std::numeric_limits<int>::min(), std::numeric_limits<int>::max(),
      "Sensor id: leave out what is recorded of other cameras. Where the recording names none, by default the first of "
      "the device's sensor map");
  command->add_flag("--reset-matched", arguments->resetMatched,
                    "Clear the flag before each frame: without a start the position stays");
  AddNumber(*command, "--log-level", arguments->logLevel, 0, 9,
            "The library's own level: below 4 it tells no ages, below 1 no spans");
  auto* const dump = command
                         ->add_option("--dump", arguments->dumps,
                                      "Let the library write OIS hall dump files: preview (of frame types 0 and 4), "
                                      "capture (of 1, 5 and 6), or both with a comma between")
                         ->delimiter(',')
                         ->expected(1, 2)
                         ->allow_extra_args(false)
                         ->check(CLI::IsMember({"preview", "capture"}));
  auto* const dumpDirectory =
      command->add_option("--dump-dir", arguments->dumpDirectory,
                          "Where to: one file per matched frame in DIR/data/vendor/camera_dump, which is made");
  dump->needs(dumpDirectory);
  dumpDirectory->needs(dump)->type_name("DIR");
  AddHostOptions(*command, arguments->device, arguments->library);
  command->add_option("--log", arguments->log, "Write every message of the library to this file; - is standard output")
      ->type_name("FILE");
  command->add_flag("--wide", arguments->wide, "All columns of the table, however narrow the terminal is");
  command->add_flag("--quiet", arguments->quiet, "The rows only: no summary, no progress bar");
  command->callback([arguments, &chosen] { chosen = [arguments] { return RunReplay(*arguments); }; });
}

}  // namespace shadingctl
