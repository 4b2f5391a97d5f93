#include <CLI/CLI.hpp>
#include <memory>
#include <string>
#include <vector>

#include "tools/shadingctl/commands/Commands.h"
#include "tools/shadingctl/output/OutputFile.h"

namespace shadingctl {

void AddHelpCommand(CLI::App& app, Command& chosen) {
  auto const name = std::make_shared<std::string>();
  std::vector<std::string> names;
  for (CLI::App const* const other : app.get_subcommands({})) names.push_back(other->get_name());
  CLI::App* const command = app.add_subcommand("help", "Show the help of a command");
  command->footer("Examples:\n  shadingctl help replay");
  command->add_option("COMMAND", *name, "The command; without it, all of them are listed")->check(CLI::IsMember(names));
  command->callback([&app, name, &chosen] {
    chosen = [&app, name] {
      OutputFile console(kStandardOutput);
      app.clear();  // or the help would be that of the command that was chosen: this one
      console.Write(name->empty() ? app.help() : app.get_subcommand(*name)->help(app.get_name()));
      console.Finish();
      return kExitDone;
    };
  });
}

}  // namespace shadingctl
