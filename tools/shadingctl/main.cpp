// shadingctl: runs the shading library away from the phone, from the command line.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <map>

#include "tools/shadingctl/commands/Commands.h"
#include "tools/shadingctl/commands/Options.h"
#include "tools/shadingctl/output/Console.h"

namespace {

constexpr char const* kVersion = "shadingctl " PROJECT_VERSION;  // from the top CMakeLists.txt

constexpr char const* kExamples = R"(Examples:
  shadingctl replay                                a built-in session, as a table
  shadingctl replay RECORDING --format csv -o result.csv
  shadingctl explain RECORDING --frame 1234        why the shading did not follow the lens
  shadingctl diff before.json after.json           two results, frame by frame
  shadingctl generate /tmp/session --hall-rate 500 --seed 7
  shadingctl import video_meta.pb3 -o /tmp/walk    a recording from other data
  shadingctl replay /tmp/session --reset-matched
  shadingctl replay /tmp/session --report report.html
  shadingctl explain phone.log                     what became of each frame, from a phone's log
  shadingctl fit RECORDING --reference target.csv  the offset, measured on a bench
  shadingctl calibration                           cameras' calibration data
  shadingctl dumps camera_dump                     OIS hall dump files of a phone
  shadingctl doctor libvcam_shadingutil.so         a library before it is installed

Exit codes: 0 done, 1 a check found a difference, 2 wrong usage, 3 unusable input or
output, 130 interrupted.)";

int Run(int argc, char** argv) {
  CLI::App app{"Loads the shading library as a camera process does, plays recordings to it and shows its answers.",
               "shadingctl"};
  app.require_subcommand(0, 1);  // none is told below, after a misspelt one was told
  app.set_version_flag("-V,--version", kVersion);
  app.footer(kExamples);
  std::map<CLI::App const*, shadingctl::Command> commands;
  for (shadingctl::CommandEntry const& entry : shadingctl::kCommands) {
    CLI::App* const command = app.add_subcommand(entry.name, entry.description);
    commands[command] = entry.add(*command);
  }
  try {
    app.parse(argc, argv);
    for (CLI::App const* const command : app.get_subcommands()) {
      shadingctl::RefuseEmptyValues(*command);
      return commands.at(command)(argv + std::min(argc, 2));
    }
  } catch (CLI::ParseError const& error) {
    return shadingctl::AnswerParseError(app, error);
  }
  shadingctl::TellPlainly("A subcommand is required\nRun with --help for more information.\n");
  return shadingctl::kExitUsage;
}

}  // namespace

int main(int argc, char** argv) {
  return shadingctl::RunProgram([&] { return Run(argc, argv); });
}
