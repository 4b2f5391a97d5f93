#include <CLI/CLI.hpp>
#include <filesystem>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

#include "hosting/UnusableInput.h"
#include "tools/shadingctl/commands/Commands.h"
#include "tools/shadingctl/commands/Options.h"
#include "tools/shadingctl/commands/completion/CommandTable.h"
#include "tools/shadingctl/commands/completion/ManPage.h"
#include "tools/shadingctl/output/OutputFile.h"

namespace shadingctl {
namespace {

struct ManArguments {
  std::string name;       // empty: the program
  std::string directory;  // empty: one page to standard output
};

void WritePage(std::string const& file, std::string const& page) {
  OutputFile output(file);
  output.Write(page);
  output.Finish();
}

int WritePages(CommandTable const& table, ManArguments const& arguments) {
  constexpr char const* kVersion = "shadingctl " PROJECT_VERSION;
  if (arguments.directory.empty()) {
    WritePage(kStandardOutput, ManPage(table, arguments.name, kVersion));
    return kExitDone;
  }
  std::error_code error;
  std::filesystem::create_directories(arguments.directory, error);
  if (error) throw hosting::UnusableInput(arguments.directory + ": cannot be made: " + error.message());
  std::vector<std::string> names = {""};
  for (CommandEntry const& command : table.commands) names.push_back(command.name);
  for (std::string const& name : names) {
    WritePage(arguments.directory + "/" + ManPageFile(name), ManPage(table, name, kVersion));
  }
  return kExitDone;
}

}  // namespace

void AddManCommand(CLI::App& app, Command& chosen) {
  auto const arguments = std::make_shared<ManArguments>();
  std::vector<std::string> names;
  for (CLI::App const* const other : app.get_subcommands({})) names.push_back(other->get_name());
  CLI::App* const command = app.add_subcommand("man", "Write manual pages");
  command->footer("Examples:\n  shadingctl man replay | man -l -\n  shadingctl man --all /usr/local/share/man/man1");
  auto* const name =
      command->add_option("COMMAND", arguments->name, "Whose page goes to standard output; by default the program's")
          ->check(CLI::IsMember(names));
  command
      ->add_option("--all", arguments->directory, "Write the pages of the program and all commands to this directory")
      ->type_name("DIR")
      ->check(RefuseStandardStream)
      ->excludes(name);
  command->callback([&app, arguments, &chosen] {
    chosen = [&app, arguments] { return WritePages(MakeCommandTable(app), *arguments); };
  });
}

}  // namespace shadingctl
