#include "tools/shadingctl/commands/Options.h"
#include "tools/shadingctl/result/ResultDiff.h"

namespace shadingctl {
namespace {

struct DiffArguments {
  std::string a;
  std::string b;
  std::string output;
  DiffOptions options;
};

int RunDiff(DiffArguments const& arguments) {
  if (arguments.a == kStandardInput && arguments.b == kStandardInput) {
    throw CLI::ValidationError("B", "expected another result than A, found -, which is standard input, for both");
  }
  RefuseOverwriting({arguments.a, arguments.b}, {arguments.output});
  OutputFile output(arguments.output);
  ResultDiff const diff = CompareResults(arguments.a, arguments.b, arguments.options);
  TellOfLeftOut(diff.a.head);
  TellOfLeftOut(diff.b.head);
  output.Write(DiffText(diff, arguments.a, arguments.b));
  output.Finish();
  return diff.IsSame() ? kExitDone : kExitDifference;
}

void AddOptions(CLI::App& command, DiffArguments& arguments) {
  command.add_option("A", arguments.a, "A result of `replay` or `explain`, JSON or CSV; - is standard input")
      ->required();
  command.add_option("B", arguments.b, "Another one")->required();
  AddNumber(command, "--tolerance", arguments.options.tolerance, 0.0, 1e9,
            "Positions and distances to the lens may differ by so much, in the samples' unit");
  AddNumber(command, "--first", arguments.options.named, std::size_t{0}, std::size_t{1000000},
            "Name so many differences");
  AddOutput(command, arguments.output);
}

}  // namespace

Command AddDiffCommand(CLI::App& command) { return MakeCommand(command, AddOptions, RunDiff); }

}  // namespace shadingctl
