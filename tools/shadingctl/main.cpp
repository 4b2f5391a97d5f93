// shadingctl: the shading library on a desk, from the command line.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>

#include "tools/shadingctl/commands/Commands.h"

namespace {

constexpr char const* kVersion = "shadingctl 1.0";

constexpr char const* kExamples = R"(Examples:
  shadingctl replay                                a built-in session, as a table
  shadingctl replay RECORDING --format csv -o result.csv
  shadingctl generate /tmp/session --hall-rate 500 --seed 7
  shadingctl replay /tmp/session --reset-matched
  shadingctl calibration                           cameras' calibration data
  shadingctl dumps camera_dump                     OIS hall dump files of a phone
  shadingctl doctor libvcam_shadingutil.so         a library before it is installed

Exit codes: 0 done, 1 a check found a difference, 2 wrong usage, 3 unusable input.)";

int Run(int argc, char** argv) {
  CLI::App app{"Loads the shading library as a camera process does, plays recordings to it and shows its answers."};
  app.require_subcommand(0, 1);  // none is told below, after a misspelt one was told
  app.set_version_flag("--version", kVersion);
  app.footer(kExamples);
  shadingctl::Command chosen;
  shadingctl::AddReplayCommand(app, chosen);
  shadingctl::AddGenerateCommand(app, chosen);
  shadingctl::AddCalibrationCommand(app, chosen);
  shadingctl::AddDumpsCommand(app, chosen);
  shadingctl::AddDoctorCommand(app, chosen);
  try {
    app.parse(argc, argv);
  } catch (CLI::ParseError const& error) {
    return app.exit(error) == 0 ? shadingctl::kExitDone : shadingctl::kExitUsage;
  }
  if (chosen) return chosen();
  std::fputs("A subcommand is required\nRun with --help for more information.\n", stderr);
  return shadingctl::kExitUsage;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return Run(argc, argv);
  } catch (std::exception const& error) {
    std::fflush(stdout);
    std::fprintf(stderr, "shadingctl: %s\n", error.what());
    return shadingctl::kExitUnusable;
  }
}
