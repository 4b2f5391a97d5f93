#include <memory>

#include "tools/shadingctl/commands/Options.h"

namespace shadingctl {

Command AddHelpCommand(CLI::App& command) {
  auto const name = std::make_shared<std::string>();
  std::vector<std::string> names;
  for (CommandEntry const& entry : kCommands) names.emplace_back(entry.name);
  command.add_option("COMMAND", *name, "The command; without it, all of them are listed")->check(CLI::IsMember(names));
  return [&command, name](char** /*words*/) {
    CLI::App& app = *command.get_parent();
    OutputFile console(kStandardOutput);
    app.clear();  // or the help would be that of the command that was chosen: this one
    console.Write(name->empty() ? app.help() : app.get_subcommand(*name)->help(app.get_name()));
    console.Finish();
    return kExitDone;
  };
}

}  // namespace shadingctl
