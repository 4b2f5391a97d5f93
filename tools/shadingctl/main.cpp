// shadingctl: runs the shading library away from the phone, from the command line.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <map>

#include "HelpTexts.h"  // generated
#include "tools/shadingctl/commands/Commands.h"
#include "tools/shadingctl/commands/Options.h"
#include "tools/shadingctl/output/Console.h"

namespace {

constexpr char const* kVersion = "shadingctl " PROJECT_VERSION;  // from the top CMakeLists.txt

int Run(int argc, char** argv) {
  CLI::App app{"Loads the shading library as a camera process does, plays recordings to it and shows its answers.",
               "shadingctl"};
  app.require_subcommand(0, 1);  // none is told below, after a misspelt one was told
  app.set_version_flag("-V,--version", kVersion);
  std::map<CLI::App const*, shadingctl::Command> commands;
  for (shadingctl::CommandEntry const& entry : shadingctl::kCommands) {
    CLI::App* const command = app.add_subcommand(entry.name, entry.description);
    commands[command] = entry.add(*command);
  }
  for (auto const& [name, text] : shadingctl::kHelpTexts)
    (name == app.get_name() ? &app : app.get_subcommand(name))->footer(text);
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
