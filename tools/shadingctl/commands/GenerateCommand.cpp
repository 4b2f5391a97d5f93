#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <string>

#include "tools/shadingctl/commands/Commands.h"
#include "tools/shadingctl/commands/Options.h"
#include "tools/shadingctl/output/OutputFile.h"
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
  std::optional<std::int64_t> pauseUs;
  std::optional<std::uint32_t> lateFrames;
  SyntheticOptions session;
};

std::int64_t IntervalNs(double rateHz) { return std::llround(1e9 / rateHz); }

// Throws CLI::ValidationError when a trouble would take more than its part of the session.
SyntheticOptions OptionsFrom(Arguments const& arguments) {
  SyntheticOptions options = arguments.session;
  options.frameIntervalNs = IntervalNs(arguments.frameRateHz);
  options.hallIntervalNs = IntervalNs(arguments.hallRateHz);
  options.jitterNs = arguments.jitterUs * 1000;
  auto const refuse = [&](char const* option, auto most, auto found) {
    throw CLI::ValidationError(option,
                               fmt::format("expected at most {}, a fifth of the session, found {}", most, found));
  };
  if (arguments.lateFrames) {
    options.lateFrames = *arguments.lateFrames;
    if (options.lateFrames > options.MostLateFrames()) refuse("--late", options.MostLateFrames(), options.lateFrames);
  }
  if (arguments.pauseUs) {
    options.pauseNs = *arguments.pauseUs * 1000;
    if (options.pauseNs > options.MostPauseNs()) refuse("--pause-us", options.MostPauseNs() / 1000, *arguments.pauseUs);
  }
  return options;
}

int Generate(Arguments const& arguments, SyntheticOptions const& options) {
  SyntheticSession session(options);
  RecordingSize const size = WriteRecording(session, arguments.directory, arguments.force);
  OutputFile console(kStandardOutput);
  console.Write(fmt::format("{}: {} frames, {} samples\n", arguments.directory, size.calculations, size.samples));
  console.Finish();
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
  command->add_option("DIR", arguments->directory, "Directory for the recording; made when missing")->required();
  AddNumber(*command, "--frames", session.frames, 1U, 100000000U, "Number of frames, the dropped ones included");
  AddNumber(*command, "--frame-rate", arguments->frameRateHz, 1.0, 1000.0, "Frames a second");
  AddNumber(*command, "--hall-rate", arguments->hallRateHz, 1.0, 100000.0, "Hall samples a second");
  AddNumber(*command, "--jitter-us", arguments->jitterUs, std::int64_t{0}, std::int64_t{1000000},
            "A sample's time is off by at most so many us");
  AddNumber(*command, "--overlap", session.overlap, 0.0, 1.0,
            "Share of the batches that repeat the end of the one before");
  AddNumber(*command, "--drop", session.drop, 0.0, 0.5, "Share of the frames that are missing");
  AddNumber(
      *command, "--late", arguments->lateFrames, 0U, 20000000U,
      "So many frames in a row get their samples only afterwards; at most a fifth of the frames. By default 8, or "
      "as many as that allows");
  AddNumber(*command, "--pause-us", arguments->pauseUs, std::int64_t{0}, std::int64_t{20000000000000},
            "Once, there is no sample for so many us; at most a fifth of the session. By default 20000, or as many as "
            "that allows");
  AddNumber(*command, "--seed", session.seed, std::uint64_t{0}, std::numeric_limits<std::uint64_t>::max(),
            "Another seed, another session");
  command->add_flag("--force", arguments->force, "Replace a recording that is there already");
  command->callback([arguments, &chosen] {
    chosen = [arguments, options = OptionsFrom(*arguments)] { return Generate(*arguments, options); };
  });
}

}  // namespace shadingctl
