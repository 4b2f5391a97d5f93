#include <algorithm>

#include "tools/shadingctl/commands/Options.h"
#include "tools/shadingctl/report/Page.h"
#include "tools/shadingctl/report/Trace.h"

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

constexpr char const* kReportExamples =
    R"(The page needs no network, no server and no program but a browser. Samples are in it where
the result holds them: replay --format json --samples. Of calibration and fits: --format json.

Examples:
  shadingctl replay RECORDING --report report.html
  shadingctl replay RECORDING --format json --samples -o result.json
  shadingctl report result.json -o report.html
  shadingctl report before.json after.json -o both.html
  shadingctl calibration --format json | shadingctl report - -o calibration.html
  shadingctl fit RECORDING --reference target.csv --format json | shadingctl report - -o fit.html)";

constexpr char const* kTraceExamples = R"(Open the file in Perfetto, beside a system trace of the same clock if need be.

Examples:
  shadingctl replay RECORDING --format json --samples -o result.json
  shadingctl trace result.json -o trace.json)";

void AddReportOptions(CLI::App& command, ReportArguments& arguments) {
  command.footer(kReportExamples);
  command
      .add_option("RESULT", arguments.results,
                  "JSON of replay, calibration or fit; two of replay are drawn over each other; - is standard input")
      ->required()
      ->expected(1, 2);
  AddOutput(command, arguments.output);
}

void AddTraceOptions(CLI::App& command, ReportArguments& arguments) {
  command.footer(kTraceExamples);
  command.add_option("RESULT", arguments.results, "JSON of replay; - is standard input")->required()->expected(1);
  AddOutput(command, arguments.output);
}

}  // namespace

Command AddReportCommand(CLI::App& command) { return MakeCommand(command, AddReportOptions, RunReport); }
Command AddTraceCommand(CLI::App& command) { return MakeCommand(command, AddTraceOptions, RunTrace); }

}  // namespace shadingctl
