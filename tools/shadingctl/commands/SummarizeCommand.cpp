#include <unistd.h>

#include <iostream>

#include "hosting/Interruption.h"
#include "hosting/UnusableInput.h"
#include "recording/Recording.h"
#include "tools/shadingctl/commands/Options.h"
#include "tools/shadingctl/summary/Totals.h"

namespace shadingctl {
namespace {

struct SummarizeArguments {
  std::vector<std::string> names;  // none: standard input lists them
  std::size_t worst = 10;
  ResultOptions result;
};

void AddResult(Totals& totals, std::string const& name) {
  hosting::EndIfInterrupted();
  try {
    ReplayResult const result = ReadReplayResult(name);
    totals.Add(name, result);
    if (!result.isComplete) Tell(fmt::format("{}: ended early: {}", name, result.error));
    std::string const lack = recording::LackText(result.capture);
    if (!lack.empty()) Tell(fmt::format("{}: {}: {}", name, result.session, lack));
  } catch (hosting::UnusableInput const& unusable) {
    totals.AddUnusable();
    Tell(unusable.what());
  }
}

int Summarize(SummarizeArguments const& arguments) {
  if (arguments.names.empty() && isatty(STDIN_FILENO)) throw CLI::RequiredError("RESULT");
  RefuseOverwriting(arguments.names, {arguments.result.output});
  OutputFile output(arguments.result.output);
  Totals totals(arguments.worst);
  for (std::string const& name : arguments.names) AddResult(totals, name);
  if (arguments.names.empty()) {
    for (std::string name; std::getline(std::cin, name);) {
      if (name.empty()) continue;
      RefuseOverwriting({name}, {arguments.result.output});
      AddResult(totals, name);
    }
    hosting::EndIfInterrupted();
  }
  if (totals.Results() + totals.Unusable() == 0)
    throw hosting::UnusableInput("standard input: expected names of results, found none");
  output.Write(arguments.result.format == Format::kJson ? totals.ToJson() : totals.Text());
  output.Finish();
  if (totals.Unusable() + totals.Unfinished() > 0) return kExitUnusable;
  return totals.DifferentAnswers() > 0 ? kExitDifference : kExitDone;
}

void AddOptions(CLI::App& command, SummarizeArguments& arguments) {
  command.add_option("RESULT", arguments.names,
                     "Files that replay --format json wrote; without one, standard input lists them, one a line");
  AddNumber(command, "--worst", arguments.worst, std::size_t{0}, std::size_t{10000},
            "How many cameras with the lowest match rates to name");
  AddResultOptions(command, arguments.result, false);
}

}  // namespace

Command AddSummarizeCommand(CLI::App& command) { return MakeCommand(command, AddOptions, Summarize); }

}  // namespace shadingctl
