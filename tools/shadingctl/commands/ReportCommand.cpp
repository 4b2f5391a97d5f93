
#include "tools/shadingctl/commands/Options.h"
#include "tools/shadingctl/report/Page.h"

namespace shadingctl {
namespace {

struct ReportArguments {
  std::vector<std::string> results;
  std::string output;
};

int RunReport(ReportArguments const& arguments) {
  if (std::count(arguments.results.begin(), arguments.results.end(), kStandardInput) > 1) {
    throw CLI::ValidationError("RESULT", "expected two results, found -, which is standard input, for both");
  }
  RefuseOverwriting(arguments.results, {arguments.output});
  OutputFile output(arguments.output);
  std::vector<PageResult> results;
  for (std::string const& path : arguments.results) {
    results.push_back(ReadPageResult(path));
    TellOfLeftOut(results.back().head);
  }
  WritePage(results, output);
  output.Finish();
  return kExitDone;
}

int RunTrace(ReportArguments const& arguments) {
  RefuseOverwriting(arguments.results, {arguments.output});
  OutputFile output(arguments.output);
  TellOfLeftOut(WriteTrace(arguments.results.front(), output));
  output.Finish();
  return kExitDone;
}

void AddReportOptions(CLI::App& command, ReportArguments& arguments) {
  command
      .add_option("RESULT", arguments.results,
                  "JSON of replay, calibration or fit; two of replay are drawn over each other; - is standard input")
      ->required()
      ->expected(1, 2);
  AddOutput(command, arguments.output);
}

void AddTraceOptions(CLI::App& command, ReportArguments& arguments) {
  command.add_option("RESULT", arguments.results, "JSON of replay; - is standard input")->required()->expected(1);
  AddOutput(command, arguments.output);
}

}  // namespace

Command AddReportCommand(CLI::App& command) { return MakeCommand(command, AddReportOptions, RunReport); }
Command AddTraceCommand(CLI::App& command) { return MakeCommand(command, AddTraceOptions, RunTrace); }

}  // namespace shadingctl
