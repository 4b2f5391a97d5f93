#include "tools/shadingctl/commands/replay/ReplayRun.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "hosting/HostLibrary.h"
#include "recording/Recording.h"
#include "tools/shadingctl/commands/Commands.h"
#include "tools/shadingctl/commands/Options.h"
#include "tools/shadingctl/commands/replay/ReplayEnding.h"
#include "tools/shadingctl/dumps/HallDumpFile.h"
#include "tools/shadingctl/output/Console.h"
#include "tools/shadingctl/output/OutputFile.h"
#include "tools/shadingctl/output/Progress.h"
#include "tools/shadingctl/replay/DeviceCameras.h"
#include "tools/shadingctl/replay/ForeignLibrary.h"
#include "tools/shadingctl/replay/PlaySession.h"
#include "tools/shadingctl/replay/PlayedSettings.h"
#include "tools/shadingctl/replay/Replay.h"
#include "tools/shadingctl/report/Page.h"
#include "tools/shadingctl/result/ResultWriter.h"
#include "tools/shadingctl/synthetic/SyntheticSession.h"

namespace shadingctl {
namespace {

constexpr char const* kModeProperty = "vendor.debug.ois.hall.calculation";
constexpr char const* kPreviewDumpProperty = "vendor.debug.preview.lsc.ois.dump";
constexpr char const* kCaptureDumpProperty = "vendor.debug.capture.lsc.ois.dump";

std::map<std::string, int> const kModes = {{"mean", 1}, {"maximum", 2}, {"middle", 3}, {"last", 4}};

bool Dumps(ReplayArguments const& arguments, DumpKind kind) {
  return std::find(arguments.dumps.begin(), arguments.dumps.end(), Name(kind)) != arguments.dumps.end();
}

DumpKind KindOf(int type) {
  bool const isPreview = type == kShadingPreview || type == kShadingPreviewPair2;
  return isPreview ? DumpKind::kPreview : DumpKind::kCapture;
}

// Requires: all relative paths are open. Without a `type`, each frame has the type that the recording states.
void StartDumping(ReplayArguments const& arguments, std::optional<int> type) {
  if (arguments.dumps.empty()) return;
  if (type && !Dumps(arguments, KindOf(*type))) {
    Tell(fmt::format("frames of type {} write {} dumps, which --dump does not name: there will be none", *type,
                     Name(KindOf(*type))));
  }
  SendDumpsBelow(arguments.dumpDirectory);
}

// Options win over the recording, and the recording over the device.
desktop::DeviceSettings SettingsFor(ReplayArguments const& arguments, recording::SessionSettings const& recorded,
                                    desktop::DeviceSettings settings) {
  settings = PlayedSettings(std::move(settings), recorded, arguments.logLevel);
  if (!arguments.mode.empty()) settings.properties[kModeProperty] = kModes.at(arguments.mode);
  if (!arguments.dumps.empty()) {
    settings.properties[kPreviewDumpProperty] = Dumps(arguments, DumpKind::kPreview) ? 1 : 0;
    settings.properties[kCaptureDumpProperty] = Dumps(arguments, DumpKind::kCapture) ? 1 : 0;
  }
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

// Made absolute: the recording may be opened again after dumps have changed the working directory.
std::unique_ptr<recording::Session> OpenSession(std::string const& recording, bool keepsPlace) {
  if (recording.empty()) return std::make_unique<SyntheticSession>(SyntheticOptions{});
  return recording::OpenRecording(keepsPlace ? std::filesystem::absolute(recording).string() : recording);
}

MessageSink SinkInto(std::optional<OutputFile>& log) {
  if (!log) return {};
  return [&log](std::optional<std::uint32_t> frame, std::string_view message) {
    log->WriteQuietly(frame ? fmt::format("{}: {}\n", *frame, message) : fmt::format("-: {}\n", message));
  };
}

void AddSamples(DeliveredBatch const& batch, PageData& page) {
  auto const position = [](float value) {
    return std::isfinite(value) ? std::optional(static_cast<double>(value)) : std::nullopt;
  };
  for (auto const& sample : batch.samples) {
    page.Add(DeliveredSample{batch.camera, sample.timestamp, position(sample.oisHallX), position(sample.oisHallY),
                             batch.frame});
  }
}

// The page holds all frames and samples, whatever the rows show.
void WriteReport(ReplaySettings settings, ResultEnd const& end, PageData&& data, OutputFile& file) {
  settings.rows = {};
  settings.samples = true;
  std::vector<PageResult> results(1);
  PageResult& result = results.front();
  result.head.name = settings.session;
  result.head.members = {{"settings", SettingsJson(settings)},
                         {"complete", end.error.empty()},
                         {"error", OrNull(end.error)},
                         {"findings", end.findings},
                         {"summary", end.summary}};
  result.data = std::move(data);
  WritePage(results, file);
}

// Expects a dump of the frame if it got a position and dumps of its kind are on.
void ExpectDump(ReplayArguments const& arguments, FrameResult const& result, HallDumpAudit& dumps) {
  DumpName name;
  name.kind = KindOf(result.type);
  bool const hasPosition = result.match == Match::kStart || result.match == Match::kCarried;
  if (!hasPosition || !Dumps(arguments, name.kind)) return;
  name.camera = result.camera;
  name.printedFrame = static_cast<std::int32_t>(result.frame);
  if (name.kind == DumpKind::kCapture) name.startOfFrameUs = result.startOfFrameUs;
  dumps.Expect(name);
}

Ending PlayAll(ReplayArguments const& arguments, recording::Session& session, Replay& replay, ResultWriter& writer,
               PageData* page, ResultChecks& checks, Summaries& summaries, std::int32_t camera, bool showsProgress) {
  Ending ending;
  auto const start = std::chrono::steady_clock::now();
  std::set<std::int32_t> cameras;
  Progress progress(showsProgress, [&] { return session.FrameCount(); });
  SessionListener listener;
  listener.onCall = [&](recording::Call const&, PlayedCall const& played) {
    summaries.Add(played);
    if (played.update) {
      DeliveredBatch const batch = {played.camera, played.update->frame, played.update->batch};
      writer.AddBatch(batch);
      if (page != nullptr) AddSamples(batch, *page);
    }
    if (!played.frame) return;
    ExpectDump(arguments, played.frame->frame.row, ending.dumps);
    progress.Step();
  };
  listener.onFrame = [&](Frame const& frame) {
    FrameResult const& row = frame.row;
    summaries.Of(row.camera).AddComplete(row);
    if (page != nullptr) page->Add(RowOf(row));
    bool const isIncluded = arguments.rows.Includes(row);
    if (isIncluded || arguments.rows.none) checks.Add(row);
    if (!isIncluded) return;
    writer.Add(row);
    ++ending.shownFrames;
  };
  ReadingEnd const end = PlaySession(session, replay, camera, cameras, listener);
  ending.error = end.error;
  ending.exitCode = ExitCodeOf(end);
  if (ending.error.empty() && !cameras.empty() && cameras.count(camera) == 0 && arguments.camera) {
    ending.error = fmt::format("{}: expected calls of camera {}, found those of {}", session.Name(), camera,
                               fmt::join(cameras, ", "));
    ending.exitCode = kExitUnusable;
  }
  std::chrono::nanoseconds const passed = std::chrono::steady_clock::now() - start;
  summaries.Close(session.Oddities(), passed.count());
  ending.complaint = replay.Complaint();
  return ending;
}

void RefuseOverwritingInputs(ReplayArguments const& arguments, ChosenDevice const& device, std::string const& library) {
  std::vector<std::string> inputs = FilesOf(device, library);
  if (!arguments.recording.empty()) AddRecordingFiles(arguments.recording, inputs);
  if (!arguments.checks.golden.empty()) inputs.push_back(arguments.checks.golden);
  std::vector<std::string> outputs = {arguments.output};
  if (!arguments.log.empty()) outputs.push_back(arguments.log);
  if (!arguments.report.empty()) outputs.push_back(arguments.report);
  RefuseOverwriting(inputs, outputs);
}

Replay::Options OptionsFrom(ReplayArguments const& arguments, Camera const& camera) {
  Replay::Options options;
  options.camera = camera.sensorId;
  options.onlyCamera = arguments.camera.has_value();
  options.type = arguments.type;
  options.resetMatched = arguments.resetMatched;
  // With options that differ from the recording, other answers are expected.
  options.checkAnswers = arguments.mode.empty() && !arguments.type && !arguments.resetMatched;
  return options;
}

ReplaySettings SettingsOf(ReplayArguments const& arguments, recording::Session const& session, Camera const& camera,
                          std::string const& library, std::string const& mode) {
  recording::SessionSettings const& recorded = session.Settings();
  ReplaySettings settings;
  settings.session = session.Name();
  settings.library = library;
  bool const isOneCamera =
      !recorded.recordsCalls || arguments.camera || (recorded.cameras && recorded.cameras->size() == 1);
  if (isOneCamera) settings.camera = camera.sensorId;
  if (!recorded.recordsCalls) settings.sensorType = camera.sensorType;
  settings.type = arguments.type;
  if (!recorded.recordsCalls && !arguments.type) settings.type = kShadingPreview;
  settings.mode = mode;
  settings.logLevel = arguments.logLevel;
  settings.resetMatched = arguments.resetMatched;
  settings.rows = arguments.rows;
  settings.samples = arguments.samples;
  return settings;
}

}  // namespace

int RunReplay(ReplayArguments const& arguments) {
  ChosenDevice const chosen = ChooseDevice(arguments.device);
  std::string const path = ChooseLibrary(arguments.library);
  RefuseOverwritingInputs(arguments, chosen, path);
  std::unique_ptr<recording::Session> const session = OpenSession(arguments.recording, !arguments.dumps.empty());
  desktop::Device& device = desktop::Device::Get();
  desktop::DeviceSettings const settings = SettingsFor(arguments, session->Settings(), chosen.settings);
  if (!session->Settings().recordsCalls) ExpectCamera(settings, arguments.camera, session->Name());
  device.Configure(settings);
  std::optional<OutputFile> log;
  if (!arguments.log.empty()) log.emplace(arguments.log);
  OutputFile output(arguments.output);
  std::optional<OutputFile> report;
  if (!arguments.report.empty()) report.emplace(arguments.report);
  VeyraShadingUtil& library = LoadLibrary(path);
  PageData page;
  auto const writer = MakeResultWriter(arguments.format, output, arguments.style);
  Summaries summaries(arguments.logLevel);
  ResultChecks checks(arguments.checks);

  Camera const camera = CameraOf(settings, arguments.camera);
  Replay::Options options = OptionsFrom(arguments, camera);
  options.switches = {hosting::FindSwitch(path, "gLogLevel"), hosting::FindSwitch(path, "g_preOisDump"),
                      hosting::FindSwitch(path, "g_capOisDump")};
  ReplaySettings const head = SettingsOf(arguments, *session, camera, path, ModeOf(settings));
  StartDumping(arguments, head.type);
  // A bar and rows on one terminal would garble each other.
  bool const terminalIsTaken = (!arguments.rows.none && output.IsTerminal()) || (log && log->IsTerminal());
  Ending ending;
  {
    Replay replay(library, device, options, SinkInto(log));
    writer->Begin(head);
    ending = PlayAll(arguments, *session, replay, *writer, report ? &page : nullptr, checks, summaries, camera.sensorId,
                     !arguments.quiet && !terminalIsTaken);
  }
  checks.Finish(summaries, ending.error.empty());
  if (checks.Digest()) writer->AddExtra("digest", *checks.Digest());
  writer->End(summaries.End(ending.error));
  if (report) WriteReport(head, summaries.End(ending.error), std::move(page), *report);
  TellOfRecording(*session);
  FinishReplay(arguments, ending, summaries, checks, {&output, log ? &*log : nullptr, report ? &*report : nullptr});
  return TellProblems(arguments, ending, summaries, checks);
}

}  // namespace shadingctl
