#include "tools/shadingctl/commands/replay/ReplayRun.h"

#include <fmt/ranges.h>

#include <chrono>
#include <filesystem>
#include <set>

#include "hosting/HostLibrary.h"
#include "hosting/LibraryNumbers.h"
#include "recording/Recording.h"
#include "tools/shadingctl/replay/Replay.h"
#include "tools/shadingctl/report/Page.h"
#include "tools/shadingctl/synthetic/SyntheticSession.h"

namespace shadingctl {
namespace {

constexpr char const* kPreviewDumpProperty = "vendor.debug.preview.lsc.ois.dump";
constexpr char const* kCaptureDumpProperty = "vendor.debug.capture.lsc.ois.dump";

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
  settings = PlayedSettings(std::move(settings), recorded, arguments.settings.logLevel);
  if (arguments.mode) settings.properties[kModeProperty] = *arguments.mode;
  if (!arguments.dumps.empty()) {
    settings.properties[kPreviewDumpProperty] = Dumps(arguments, DumpKind::kPreview) ? 1 : 0;
    settings.properties[kCaptureDumpProperty] = Dumps(arguments, DumpKind::kCapture) ? 1 : 0;
  }
  return settings;
}

std::string ModeOf(desktop::DeviceSettings const& settings) {
  auto const property = settings.properties.find(kModeProperty);
  int const mode = property == settings.properties.end() ? hosting::kModeMean : property->second;
  auto const named =
      std::find_if(kModes.begin(), kModes.end(), [&](auto const& known) { return known.second == mode; });
  return named != kModes.end() ? named->first : fmt::format("{} (none)", mode);
}

// Made absolute: the recording may be opened again after dumps have changed the working directory.
std::unique_ptr<recording::Session> OpenSession(std::string const& recording, bool keepsPlace) {
  if (recording.empty()) return std::make_unique<SyntheticSession>(SyntheticOptions{});
  return recording::OpenRecording(keepsPlace ? std::filesystem::absolute(recording).string() : recording);
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
  if (!result.HasNewPosition() || !Dumps(arguments, name.kind)) return;
  name.camera = result.camera;
  name.printedFrame = static_cast<std::int32_t>(result.frame);
  if (name.kind == DumpKind::kCapture) name.startOfFrameUs = result.startOfFrameUs;
  dumps.Expect(name);
}

void PlayAll(ReplayRun& run, recording::Session& session, Replay& replay, std::int32_t camera, ResultWriter& writer,
             PageData& page, bool showsProgress) {
  auto const start = std::chrono::steady_clock::now();
  std::set<std::int32_t> cameras;
  Progress progress(showsProgress, [&] { return session.FrameCount(); });
  auto const onCall = [&](PlayedCall const& played) {
    cameras.insert(played.camera);
    run.summaries.Add(played);
    if (played.update) {
      DeliveredBatch const batch = {played.camera, played.update->frame, played.update->batch};
      writer.AddBatch(batch);
      for (auto const& sample : batch.samples) {
        if (!run.report) break;
        page.Add(DeliveredSample{batch.camera, sample.timestamp, sample.oisHallX, sample.oisHallY, batch.frame});
      }
    }
    if (!played.frame) return;
    ExpectDump(run.arguments, played.frame->frame.row, run.dumps);
    progress.Step();
  };
  RowSelection const& rows = run.arguments.settings.rows;
  ReadingEnd const end = PlaySession(session, replay, onCall, [&](Frame const& frame) {
    FrameResult const& row = frame.row;
    run.summaries.Of(row.camera).AddComplete(row);
    if (run.report) page.Add(RowOf(row));
    bool const isIncluded = rows.Includes(row);
    if (isIncluded || rows.none) run.checks.Add(row);
    if (!isIncluded) return;
    writer.Add(row);
    ++run.shownFrames;
  });
  run.error = end.error;
  run.exitCode = ExitCodeOf(end);
  if (run.error.empty() && !cameras.empty() && cameras.count(camera) == 0 && run.arguments.settings.camera) {
    run.error = fmt::format("{}: expected calls of camera {}, found those of {}", session.Name(), camera,
                            fmt::join(cameras, ", "));
    run.exitCode = kExitUnusable;
  }
  std::chrono::nanoseconds const passed = std::chrono::steady_clock::now() - start;
  run.summaries.Close(session.Oddities(), passed.count());
  run.complaint = replay.Complaint();
}

Replay::Options OptionsFrom(ReplayArguments const& arguments, Camera const& camera, std::string const& library) {
  ReplaySettings const& settings = arguments.settings;
  Replay::Options options;
  options.camera = camera.sensorId;
  options.onlyCamera = settings.camera.has_value();
  options.type = settings.type;
  options.resetMatched = settings.resetMatched;
  // With options that differ from the recording, other answers are expected.
  options.checkAnswers = !arguments.mode && !settings.type && !settings.resetMatched;
  options.switches = {hosting::FindSwitch(library, "gLogLevel"), hosting::FindSwitch(library, "g_preOisDump"),
                      hosting::FindSwitch(library, "g_capOisDump")};
  return options;
}

// The settings of the options, completed.
ReplaySettings SettingsOf(ReplaySettings settings, recording::Session const& session, Camera const& camera,
                          std::string const& library, std::string const& mode) {
  recording::SessionSettings const& recorded = session.Settings();
  settings.session = session.Name();
  settings.library = library;
  settings.mode = mode;
  bool const isOneCamera =
      !recorded.recordsCalls || settings.camera || (recorded.cameras && recorded.cameras->size() == 1);
  if (isOneCamera) settings.camera = camera.sensorId;
  if (!recorded.recordsCalls) settings.sensorType = camera.sensorType;
  if (!recorded.recordsCalls && !settings.type) settings.type = kShadingPreview;
  return settings;
}

}  // namespace

int RunReplay(ReplayArguments const& arguments) {
  Host const host = ChooseHost(arguments.host);
  std::vector<std::string> inputs = FilesOf(host);
  if (!arguments.recording.empty()) AddRecordingFiles(arguments.recording, inputs);
  inputs.push_back(arguments.golden);
  RefuseOverwriting(inputs, {arguments.result.output, arguments.log, arguments.report});
  std::unique_ptr<recording::Session> const session = OpenSession(arguments.recording, !arguments.dumps.empty());
  desktop::Device& device = desktop::Device::Get();
  desktop::DeviceSettings const settings = SettingsFor(arguments, session->Settings(), host.settings);
  std::optional<int> const wanted = arguments.settings.camera;
  if (!session->Settings().recordsCalls) ExpectCamera(settings, wanted, session->Name());
  device.Configure(settings);
  std::optional<OutputFile> log;
  if (!arguments.log.empty()) log.emplace(arguments.log);
  OutputFile output(arguments.result.output);
  std::optional<OutputFile> report;
  if (!arguments.report.empty()) report.emplace(arguments.report);
  VeyraShadingUtil& library = LoadLibrary(host.library);
  PageData page;
  auto const writer = MakeResultWriter(arguments.result.format, output, arguments.style);
  ReplayRun run = {arguments, output, log, report, Summaries(arguments.settings.logLevel), ResultChecks(arguments)};

  Camera const camera = CameraOf(settings, wanted);
  Replay::Options const options = OptionsFrom(arguments, camera, host.library);
  ReplaySettings const head = SettingsOf(arguments.settings, *session, camera, host.library, ModeOf(settings));
  StartDumping(arguments, head.type);
  // A bar and rows on one terminal would garble each other.
  bool const terminalIsTaken = (!head.rows.none && output.IsTerminal()) || (log && log->IsTerminal());
  {
    Replay replay(library, device, options, [&](std::optional<std::uint32_t> frame, std::string_view message) {
      if (log) log->WriteQuietly(fmt::format("{}: {}\n", frame ? std::to_string(*frame) : "-", message));
    });
    writer->Begin(head);
    PlayAll(run, *session, replay, camera.sensorId, *writer, page, !arguments.quiet && !terminalIsTaken);
  }
  run.checks.Finish(run.summaries, run.error.empty());
  if (run.checks.Digest()) writer->AddExtra("digest", *run.checks.Digest());
  writer->End(run.summaries.End(run.error));
  if (report) WriteReport(head, run.summaries.End(run.error), std::move(page), *report);
  TellOfRecording(*session);
  FinishReplay(run);
  return TellProblems(run);
}

}  // namespace shadingctl
