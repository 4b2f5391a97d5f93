// What the tool tells of its own commands: completions of shells, and help.
#include <fmt/ranges.h>

#include "CompletionText.h"  // generated
#include "tools/shadingctl/commands/Options.h"

namespace shadingctl {
namespace {

// What an option or argument takes. The name of its type is followed by the values that a check lists:
// "TEXT:{table,csv,json}".
std::string ValuesOf(CLI::Option const& option) {
  std::string const type = option.get_type_name();
  std::size_t const open = type.find(":{");
  if (open != std::string::npos) {
    std::string const values = type.substr(open + 2, type.find('}', open) - open - 2);
    return CLI::detail::find_and_replace(values, ",", " ");
  }
  if (type == "DIR") return "@directory";
  // An argument is a file unless it is known to be something else.
  return type == "FILE" || !option.nonpositional() ? "@file" : "";
}

void AddLines(std::string const& name, CLI::App const& command, std::string& list) {
  std::vector<std::string> names;
  for (CLI::Option const* const option : command.get_options()) {
    std::size_t const before = names.size();
    for (std::string const& letter : option->get_snames()) names.push_back("-" + letter);
    for (std::string const& word : option->get_lnames()) names.push_back("--" + word);
    if (names.size() == before) list += fmt::format("{}||{}\n", name, ValuesOf(*option));
    if (option->get_items_expected_max() == 0) continue;
    for (std::size_t i = before; i < names.size(); ++i) {
      list += fmt::format("{}|{}|{}\n", name, names[i], ValuesOf(*option));
    }
  }
  list += fmt::format("{}|-|{}\n", name, fmt::join(names, " "));
}

// As completion/lookup.sh says.
std::string WordList(CLI::App const& app) {
  std::string list = "\n||";
  for (CommandEntry const& entry : kCommands) list += fmt::format("{}{}", list.back() == '|' ? "" : " ", entry.name);
  list += "\n";
  AddLines("", app, list);
  for (CLI::App const* const command : app.get_subcommands({})) AddLines(command->get_name(), *command, list);
  return list;
}

}  // namespace

Command AddCompletionCommand(CLI::App& command) {
  struct Arguments {
    std::string shell;
    std::string output;
  };
  auto const arguments = std::make_shared<Arguments>();
  command.add_option("SHELL", arguments->shell, "For which shell")->required()->check(CLI::IsMember({"bash", "zsh"}));
  AddOutput(command, arguments->output);
  return [&command, arguments](char** /*words*/) {
    bool const isBash = arguments->shell == "bash";
    OutputFile output(arguments->output);
    output.Write(fmt::format("{}# Made by `shadingctl completion {}`.\n\n_shadingctl_words='{}'\n{}{}",
                             isBash ? "" : "#compdef shadingctl\n", arguments->shell, WordList(*command.get_parent()),
                             kLookUp, isBash ? kBash : kZsh));
    output.Finish();
    return kExitDone;
  };
}

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
