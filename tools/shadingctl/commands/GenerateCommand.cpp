#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <cmath>
#include <memory>
#include <string>

#include "tools/shadingctl/commands/Commands.h"
#include "tools/shadingctl/session/RecordingWriter.h"
#include "tools/shadingctl/session/SyntheticSession.h"

namespace shadingctl {
namespace {

struct Arguments {
  std::string directory;
  bool force = false;
  double frameRateHz = 60;
  double hallRateHz = 1000;
  std::int64_t jitterUs = 80;
  std::int64_t pauseUs = 20000;
  SyntheticOptions session;
};

std::int64_t IntervalNs(double rateHz) { return std::llround(1e9 / rateHz); }

int Generate(Arguments const& arguments) {
  SyntheticOptions options = arguments.session;
  options.frameIntervalNs = IntervalNs(arguments.frameRateHz);
  options.hallIntervalNs = IntervalNs(arguments.hallRateHz);
  options.jitterNs = arguments.jitterUs * 1000;
  options.pauseNs = arguments.pauseUs * 1000;
  SyntheticSession session(options);
  RecordingSize const size = WriteRecording(session, arguments.directory, arguments.force);
  fmt::print("{}: {} frames, {} samples\n", arguments.directory, size.frames, size.samples);
  return kExitDone;
}

constexpr char const* kExamples = R"(Without options this is the session that `shadingctl replay` has built in.

Examples:
  shadingctl generate /tmp/session
  shadingctl generate /tmp/slow --hall-rate 200 --jitter-us 300 --seed 7
  shadingctl generate /tmp/long --frames 100000 --drop 0)";

}  // namespace

void AddGenerateCommand(CLI::App& app, Command& chosen) {
  auto const arguments = std::make_shared<Arguments>();
  SyntheticOptions& session = arguments->session;
  CLI::App* const command = app.add_subcommand("generate", "Write a synthetic session as a recording");
  command->footer(kExamples);
  command->option_defaults()->always_capture_default();
  command->add_option("DIR", arguments->directory, "Directory for frames.csv and hall.csv; made when missing")
      ->required();
  command->add_option("--frames", session.frames, "Number of frames, the dropped ones included")
      ->check(CLI::Range(1U, 100000000U));
  command->add_option("--frame-rate", arguments->frameRateHz, "Frames a second")->check(CLI::Range(1.0, 1000.0));
  command->add_option("--hall-rate", arguments->hallRateHz, "Hall samples a second")->check(CLI::Range(1.0, 100000.0));
  command->add_option("--jitter-us", arguments->jitterUs, "A sample's time is off by at most so many us")
      ->check(CLI::Range(0, 1000000));
  command->add_option("--overlap", session.overlap, "Share of the batches that repeat the end of the one before")
      ->check(CLI::Range(0.0, 1.0));
  command->add_option("--drop", session.drop, "Share of the frames that are missing, at most a half")
      ->check(CLI::Range(0.0, 0.5));
  command->add_option("--late", session.lateFrames,
                      "So many frames in a row get their samples only afterwards; at most a fifth of them");
  command
      ->add_option("--pause-us", arguments->pauseUs,
                   "Once, there is no sample for so many us; at most a fifth of the session")
      ->check(CLI::Range(0, 10000000));
  command->add_option("--seed", session.seed, "Another seed, another session");
  command->add_flag("--force", arguments->force, "Overwrite a recording that is there already");
  command->callback([arguments, &chosen] { chosen = [arguments] { return Generate(*arguments); }; });
}

}  // namespace shadingctl
