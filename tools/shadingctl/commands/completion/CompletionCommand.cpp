#include <CLI/CLI.hpp>
#include <memory>
#include <string>

#include "tools/shadingctl/commands/Commands.h"
#include "tools/shadingctl/commands/Options.h"
#include "tools/shadingctl/commands/completion/Completion.h"
#include "tools/shadingctl/output/OutputFile.h"

namespace shadingctl {

void AddCompletionCommand(CLI::App& app, Command& chosen) {
  struct CompletionArguments {
    std::string shell;
    std::string output;
  };
  auto const arguments = std::make_shared<CompletionArguments>();
  CLI::App* const command = app.add_subcommand("completion", "Write a shell's completion of these commands");
  command->footer(
      "Examples:\n"
      "  source <(shadingctl completion bash)\n"
      "  shadingctl completion zsh -o ~/.zfunc/_shadingctl");
  command->add_option("SHELL", arguments->shell, "For which shell")->required()->check(CLI::IsMember({"bash", "zsh"}));
  AddOutput(*command, arguments->output);
  command->callback([&app, arguments, &chosen] {
    chosen = [&app, arguments] {
      CommandTable const table = MakeCommandTable(app);
      OutputFile output(arguments->output);
      output.Write(arguments->shell == "bash" ? BashCompletion(table) : ZshCompletion(table));
      output.Finish();
      return kExitDone;
    };
  });
}

}  // namespace shadingctl
