// The subcommands of shadingctl, one source each.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace shadingctl {

constexpr int kExitDone = 0;
constexpr int kExitDifference = 1;
constexpr int kExitUsage = 2;
constexpr int kExitUnusable = 3;
constexpr int kExitSignal = 128;  // and the signal's number: 130 after Ctrl-C

struct ReadingEnd;
// Done, unusable, or the signal's.
int ExitCodeOf(ReadingEnd const& end);

// What the command line asks for; runs after the command line was understood and answers the exit code.
using Command = std::function<int()>;

// Each adds its subcommand to `app`; parsing a command line with that subcommand sets `chosen`, which must outlive it.
void AddReplayCommand(CLI::App& app, Command& chosen);
void AddBudgetCommand(CLI::App& app, Command& chosen);
void AddFitCommand(CLI::App& app, Command& chosen);
void AddGenerateCommand(CLI::App& app, Command& chosen);
void AddCalibrationCommand(CLI::App& app, Command& chosen);
void AddDumpsCommand(CLI::App& app, Command& chosen);
void AddDoctorCommand(CLI::App& app, Command& chosen);
void AddExplainCommand(CLI::App& app, Command& chosen);
void AddDiffCommand(CLI::App& app, Command& chosen);
void AddReportCommand(CLI::App& app, Command& chosen);
void AddTraceCommand(CLI::App& app, Command& chosen);
void AddSummarizeCommand(CLI::App& app, Command& chosen);

// Runs the program shadingctl-import with `words`, the command line's after the subcommand.
void AddImportCommand(CLI::App& app, std::vector<std::string> words, Command& chosen);

// The manual pages and completions of all commands, those that are added later included.
void AddManCommand(CLI::App& app, Command& chosen);
void AddCompletionCommand(CLI::App& app, Command& chosen);

// The help of all commands that have been added before it.
void AddHelpCommand(CLI::App& app, Command& chosen);

}  // namespace shadingctl
