#include <cmath>
#include <limits>

#include "tools/shadingctl/commands/Options.h"
#include "tools/shadingctl/output/RecordingWriter.h"
#include "tools/shadingctl/synthetic/SyntheticSession.h"

namespace shadingctl {
namespace {

constexpr std::int64_t kLongestTimeUs = 4000000;  // of exposures and readouts: a driver reports 32 bits of ns
constexpr std::int64_t kMostDelayUs = 1000000;
constexpr std::int64_t kMostClockUs = 10000000000;  // hours: any clock that was taken for another one
constexpr std::int64_t kLongestPauseUs = 20000000000000;
constexpr double kMostHall = 1e6;

constexpr SyntheticCamera kCameras[] = {{0, 3}, {2, 5}};  // those of the built-in device

// A time in us on the command line; its default is shown.
CLI::Option* AddTime(CLI::App& command, char const* name, std::int64_t& ns, std::int64_t leastUs, std::int64_t mostUs,
                     char const* description) {
  return AddNumberOption(command, name, leastUs, mostUs, description, [&ns](std::int64_t us) { ns = us * 1000; })
      ->default_str(std::to_string(ns / 1000));
}

// A rate in Hz on the command line, of things that are `intervalNs` apart.
void AddRate(CLI::App& command, char const* name, std::int64_t& intervalNs, double mostHz, char const* description) {
  AddNumberOption(command, name, 1.0, mostHz, description, [&intervalNs](double hz) {
    intervalNs = std::llround(1e9 / hz);
  })->default_str(fmt::format("{:.6g}", 1e9 / static_cast<double>(intervalNs)));
}

// A time in us, or one that goes from a first to a second value and back: "FROM:TO".
template <class Target>
CLI::Option* AddSweep(CLI::App& command, std::string const& name, Target& target, char const* description) {
  auto const read = [&target, name](std::string const& text) {
    std::size_t const colon = text.find(':');
    auto const us = [&](std::size_t from, std::size_t count) {
      return ParseNumber<std::int64_t>(text.substr(from, count), 0, kLongestTimeUs);
    };
    auto const from = us(0, colon);
    auto const to = colon == std::string::npos ? from : us(colon + 1, std::string::npos);
    if (!from || !to) {
      throw CLI::ValidationError(
          name, fmt::format("expected one or, with a colon between, two whole numbers from 0 to {}, found '{}'",
                            kLongestTimeUs, text));
    }
    target = Sweep{*from * 1000, *to * 1000};
  };
  return command.add_option_function<std::string>(name, read, description)->type_name("US[:US]");
}

Event ParseEvent(std::string const& text) {
  std::size_t const at = text.find('@');
  std::size_t const colon = text.find(':');
  auto const* const kind = std::find_if(kEventNames.begin(), kEventNames.end(),
                                        [&](EventName const& name) { return name.name == text.substr(0, at); });
  auto const seconds = at == std::string::npos
                           ? std::nullopt
                           : ParseNumber<double>(text.substr(at + 1, colon - std::min(colon, at + 1)), -1e6, 1e6);
  auto const amount = colon == std::string::npos ? std::optional(0.0)
                                                 : ParseNumber<double>(text.substr(colon + 1), -kMostHall, kMostHall);
  if (kind == kEventNames.end() || !seconds || !amount) {
    std::string kinds;
    for (EventName const& name : kEventNames) kinds += fmt::format("{}{}", kinds.empty() ? "" : ", ", name.name);
    throw CLI::ValidationError(
        "--event", fmt::format("expected KIND@SECONDS or KIND@SECONDS:AMOUNT with one of {}, found '{}'", kinds, text));
  }
  return {static_cast<EventKind>(kind - kEventNames.begin()), std::llround(1e9 * *seconds),
          colon == std::string::npos ? kind->amount : *amount};
}

// Refuses a fault that would last for too much of a short session.
template <class Number>
void RefuseMoreThan(Number most, Number found, char const* option) {
  if (found <= most) return;
  throw CLI::ValidationError(option, fmt::format("expected at most {}, a fifth of the session, found {}", most, found));
}

void AddFrames(CLI::App& command, SyntheticOptions& session) {
  AddNumber(command, "--frames", session.frames, 1U, 100000000U, "Number of frames, the dropped ones included");
  AddRate(command, "--frame-rate", session.frameIntervalNs, 1000, "Frames a second");
  AddNumber(command, "--drop", session.drop, 0.0, 0.5, "Share of the frames that are missing");
  AddSweep(command, "--exposure-us", session.exposureNs,
           "Exposure time; with two values it goes from the first to the second and back, once in 600 frames")
      ->default_str("10000:4000");
  AddSweep(command, "--exposure1-us", session.laterExposuresNs[0],
           "The same for pair 1, which follows pair 0; otherwise as pair 0");
  AddSweep(command, "--exposure2-us", session.laterExposuresNs[1],
           "The same for pair 2, which follows pair 1; otherwise as pair 0");
  AddSweep(command, "--readout-us", session.readoutNs,
           "Readout time, or two values; by default 15980, or 96 % of the time between two frames if that is less");
}

void AddSamples(CLI::App& command, SyntheticOptions& session) {
  AddRate(command, "--hall-rate", session.hallIntervalNs, 100000, "Hall samples a second");
  AddTime(command, "--hall-phase-us", session.hallPhaseNs, 0, kMostDelayUs, "The samples are later by so much");
  AddTime(command, "--jitter-us", session.jitterNs, 0, kMostDelayUs, "A sample's time is off by at most so many us");
  AddTime(command, "--delivery-delay-us", session.deliveryDelayNs, 0, kMostDelayUs,
          "From the end of a frame's readout to the delivery of its batch");
  AddNumber(command, "--overlap", session.overlap, 0.0, 1.0,
            "Share of the batches that repeat the end of the one before");
}

// The checks stand on the frames, whose options are read before.
void AddTroubles(CLI::App& command, SyntheticOptions& session) {
  AddNumberOption(
      command, "--late", 0U, 20000000U,
      "So many frames in a row get their samples only afterwards; at most a fifth of the frames. By default 8, or "
      "as many as that allows",
      [&session](std::uint32_t frames) {
        RefuseMoreThan(session.MostLateFrames(), frames, "--late");
        session.lateFrames = frames;
      });
  AddNumberOption(
      command, "--pause-us", std::int64_t{0}, kLongestPauseUs,
      "Once, there is no sample for so many us; at most a fifth of the session. By default 20000, or as many as "
      "that allows",
      [&session](std::int64_t us) {
        RefuseMoreThan(session.MostPauseNs() / 1000, us, "--pause-us");
        session.pauseNs = us * 1000;
      });
  AddNumber(command, "--lost", session.lost, 0.0, 1.0, "Share of the batches that never come");
  AddNumber(command, "--discarded", session.discarded, 0.0, 1.0,
            "Share of the batches that repeat all of the one before, which the library discards");
  AddTime(command, "--clock-offset-us", session.clock.offsetNs, -kMostClockUs, kMostClockUs,
          "The times of the samples are later by so much");
  AddChoice<std::int64_t>(command, "--clock-unit", {{"ns", 1}, {"us", 1000}, {"ms", 1000000}}, session.clock.unitNs,
                          "Unit of the samples' times, which should be ns")
      ->default_str("ns");
  LensTrouble& lens = session.lens;
  AddNumber(command, "--end-stop", lens.endStop, 0.0, kMostHall, "The lens goes no further than this");
  AddNumber(command, "--grain", lens.grain, 0.0, kMostHall, "Positions are multiples of this");
  command
      .add_option_function<std::vector<std::string>>(
          "--event",
          [&session](std::vector<std::string> const& events) {
            for (std::string const& event : events) session.events.push_back(ParseEvent(event));
          },
          "What happens from a time on, since the first frame; docs/recording-format.md lists the kinds")
      ->type_name("KIND@SECONDS[:AMOUNT]")
      ->allow_extra_args(false);
}

void AddHost(CLI::App& command, SyntheticOptions& session) {
  session.cameras = {kCameras[0]};
  AddNumberOption(command, "--cameras", 1, 2, "One camera, or two at once: those of the built-in device",
                  [&session](int count) { session.cameras.assign(kCameras, kCameras + count); })
      ->default_str("1");
  session.types = {0};
  auto const setTypes = [&session](std::vector<std::string> const& digits) {
    session.types.clear();
    for (std::string const& digit : digits) session.types.push_back(digit[0] - '0');
  };
  command
      .add_option_function<std::vector<std::string>>(
          "--types", setTypes, "Kinds of frames, with commas between: one computation each for every frame")
      ->delimiter(',')
      ->allow_extra_args(false)
      ->default_str("0")
      ->check(CLI::IsMember({"0", "1", "4", "5", "6"}));
  AddNumber(command, "--restarts", session.restarts, 0U, 1000U, "Stop and start the monitor so often, evenly spread");
  ModeSwitches& modes = session.modes;
  AddNumber(command, "--switch-every", modes.everyFrames, 0U, 100000000U,
            "Switch between the sensor's modes 0 and 1 every so many frames");
  modes.readoutNs = 33000000;
  AddTime(command, "--switch-readout-us", modes.readoutNs, 0, kLongestTimeUs, "Readout time of mode 1");
  AddNumber(command, "--switch-late", modes.lateFrames, 0U, 100000000U,
            "So many frames after each switch are computed before the library knows of it");
}

struct GenerateArguments {
  std::string directory;
  bool force = false;
  std::string reference;  // empty: none
  SyntheticOptions session;
};

int Generate(GenerateArguments const& arguments) {
  if (!arguments.reference.empty()) {
    std::vector<std::string> outputs = {arguments.reference};
    AddRecordingFiles(arguments.directory, outputs);
    RefuseOverwriting({}, outputs);
  }
  SyntheticSession session(arguments.session);
  OutputFile console(kStandardOutput);
  WriteRecording(session, arguments.directory, arguments.force, console);
  if (!arguments.reference.empty()) WriteReference(arguments.session, arguments.reference);
  return kExitDone;
}

void AddOptions(CLI::App& command, GenerateArguments& arguments) {
  command.add_option("DIR", arguments.directory, "Directory for the recording; made when missing")
      ->required()
      ->check(RefuseStandardStream);
  SyntheticOptions& session = arguments.session;
  AddFrames(command, session);
  AddSamples(command, session);
  AddTroubles(command, session);
  AddHost(command, session);
  AddNumber(command, "--seed", session.seed, std::uint64_t{0}, std::numeric_limits<std::uint64_t>::max(),
            "Another seed, another session");
  command
      .add_option("--reference", arguments.reference,
                  "Also write where the image of a fixed target stood in each frame, for `shadingctl fit`")
      ->check(RefuseStandardStream);
  command.add_flag("--force", arguments.force, "Replace a recording that is there already");
}

}  // namespace

Command AddGenerateCommand(CLI::App& command) { return MakeCommand(command, AddOptions, Generate); }

}  // namespace shadingctl
