// shadingctl: runs the shading library away from the phone, from the command line.
#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <exception>
#include <sstream>
#include <string>
#include <vector>

#include "hosting/Interruption.h"
#include "tools/shadingctl/commands/Commands.h"
#include "tools/shadingctl/commands/Options.h"
#include "tools/shadingctl/commands/Suggestion.h"
#include "tools/shadingctl/output/Console.h"
#include "tools/shadingctl/output/OutputFile.h"

namespace {

constexpr char const* kVersion = "shadingctl " PROJECT_VERSION;  // from the top CMakeLists.txt

constexpr char const* kExamples = R"(Examples:
  shadingctl replay                                a built-in session, as a table
  shadingctl replay RECORDING --format csv -o result.csv
  shadingctl explain RECORDING --frame 1234        why the shading did not follow the lens
  shadingctl diff before.json after.json           two results, frame by frame
  shadingctl generate /tmp/session --hall-rate 500 --seed 7
  shadingctl replay /tmp/session --reset-matched
  shadingctl replay /tmp/session --report report.html
  shadingctl explain phone.log                     what became of each frame, from a phone's log
  shadingctl fit RECORDING --reference target.csv  the offset, measured on a bench
  shadingctl calibration                           cameras' calibration data
  shadingctl dumps camera_dump                     OIS hall dump files of a phone
  shadingctl doctor libvcam_shadingutil.so         a library before it is installed

Exit codes: 0 done, 1 a check found a difference, 2 wrong usage, 3 unusable input or
output, 130 interrupted.)";

// The command or option that the first unknown argument may stand for, as a line; empty when there is none like it.
std::string SuggestionFor(CLI::App const& app) {
  std::vector<std::string> const unknown = app.remaining(true);
  if (unknown.empty()) return {};
  std::vector<CLI::App*> const commands = app.get_subcommands();
  std::vector<std::string> candidates;
  if (unknown.front()[0] == '-') {
    CLI::App const& command = commands.empty() ? app : *commands.front();
    for (CLI::Option const* const option : command.get_options()) {
      for (std::string const& name : option->get_lnames()) candidates.push_back("--" + name);
    }
  } else if (commands.empty()) {
    for (CLI::App const* const command : app.get_subcommands({})) candidates.push_back(command->get_name());
  }
  std::string const typed = unknown.front().substr(0, unknown.front().find('='));
  auto const suggestion = shadingctl::Suggest(typed, candidates);
  return suggestion ? "Did you mean " + *suggestion + "?\n" : std::string();
}

// --help and --version write to standard output, refusals to standard error.
int Answer(CLI::App const& app, CLI::ParseError const& error) {
  std::ostringstream asked;
  std::ostringstream refused;
  int const code = app.exit(error, asked, refused);
  std::string told = refused.str();
  if (code != 0) told.insert(std::min(told.find('\n') + 1, told.size()), SuggestionFor(app));
  shadingctl::TellPlainly(told);
  shadingctl::OutputFile console(shadingctl::kStandardOutput);
  console.Write(asked.str());
  console.Finish();
  return code == 0 ? shadingctl::kExitDone : shadingctl::kExitUsage;
}

int Run(int argc, char** argv) {
  CLI::App app{"Loads the shading library as a camera process does, plays recordings to it and shows its answers.",
               "shadingctl"};
  app.require_subcommand(0, 1);  // none is told below, after a misspelt one was told
  app.set_version_flag("-V,--version", kVersion);
  app.footer(kExamples);
  shadingctl::Command chosen;
  shadingctl::AddReplayCommand(app, chosen);
  shadingctl::AddExplainCommand(app, chosen);
  shadingctl::AddDiffCommand(app, chosen);
  shadingctl::AddGenerateCommand(app, chosen);
  shadingctl::AddBudgetCommand(app, chosen);
  shadingctl::AddFitCommand(app, chosen);
  shadingctl::AddCalibrationCommand(app, chosen);
  shadingctl::AddDumpsCommand(app, chosen);
  shadingctl::AddDoctorCommand(app, chosen);
  shadingctl::AddReportCommand(app, chosen);
  shadingctl::AddTraceCommand(app, chosen);
  shadingctl::AddSummarizeCommand(app, chosen);
  shadingctl::AddCompletionCommand(app, chosen);
  shadingctl::AddManCommand(app, chosen);
  shadingctl::AddHelpCommand(app, chosen);
  try {
    app.parse(argc, argv);
    for (CLI::App const* const command : app.get_subcommands()) shadingctl::RefuseEmptyValues(*command);
  } catch (CLI::ParseError const& error) {
    return Answer(app, error);
  }
  if (chosen) return chosen();
  shadingctl::TellPlainly("A subcommand is required\nRun with --help for more information.\n");
  return shadingctl::kExitUsage;
}

// If the parent process has closed a standard stream, the first file opened would get its number. The placeholder is
// opened in the opposite direction, so that using the stream fails as it should.
void OccupyStandardStreams() {
  for (int const stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (fcntl(stream, F_GETFD) < 0) open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
  }
}

}  // namespace

int main(int argc, char** argv) {
  OccupyStandardStreams();
  hosting::RememberInterruptions();
  signal(SIGPIPE, SIG_IGN);  // writing then fails, and what was begun is cleaned up
  signal(SIGXFSZ, SIG_IGN);
  try {
    return Run(argc, argv);
  } catch (hosting::Interrupted const&) {
    shadingctl::Tell("interrupted; nothing was written");
    return shadingctl::kExitSignal + hosting::InterruptedBy();
  } catch (shadingctl::ReaderIsGone const&) {
    // Everything is cleaned up; end like any program whose reader is gone.
    signal(SIGPIPE, SIG_DFL);
    raise(SIGPIPE);
    return shadingctl::kExitUnusable;
  } catch (std::exception const& error) {
    shadingctl::Tell(error.what());
    return shadingctl::kExitUnusable;
  }
}
