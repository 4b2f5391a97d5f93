// The subcommands of shadingctl, and what the tool's programs have in common around their work.
#pragma once

#include <functional>
#include <memory>

namespace CLI {
class App;
class ParseError;
}  // namespace CLI

namespace shadingctl {

constexpr int kExitDone = 0;
constexpr int kExitDifference = 1;
constexpr int kExitUsage = 2;
constexpr int kExitUnusable = 3;
constexpr int kExitSignal = 128;  // and the signal's number: 130 after Ctrl-C

struct ReadingEnd;
// Done, unusable, or the signal's.
int ExitCodeOf(ReadingEnd const& end);

// Runs a subcommand after its options were parsed and answers the exit code; `words` are those of the command line
// after its name, with a null pointer at the end. Throws CLI::ParseError where options do not go together.
using Command = std::function<int(char** words)>;

// Adds the options of a subcommand; the arguments that they fill live as long as the answer.
template <class Arguments>
Command MakeCommand(CLI::App& command, void (*addOptions)(CLI::App&, Arguments&), int (*run)(Arguments const&)) {
  auto const arguments = std::make_shared<Arguments>();
  addOptions(command, *arguments);
  return [arguments, run](char** /*words*/) { return run(*arguments); };
}

Command AddBudgetCommand(CLI::App& command);
Command AddCalibrationCommand(CLI::App& command);
Command AddCompletionCommand(CLI::App& command);
Command AddDiffCommand(CLI::App& command);
Command AddDoctorCommand(CLI::App& command);
Command AddDumpsCommand(CLI::App& command);
Command AddExplainCommand(CLI::App& command);
Command AddFitCommand(CLI::App& command);
Command AddGenerateCommand(CLI::App& command);
Command AddHelpCommand(CLI::App& command);
Command AddImportCommand(CLI::App& command);
Command AddReplayCommand(CLI::App& command);
Command AddReportCommand(CLI::App& command);
Command AddSummarizeCommand(CLI::App& command);
Command AddTraceCommand(CLI::App& command);

struct CommandEntry {
  char const* name;
  char const* description;
  Command (*add)(CLI::App& command);
};

constexpr char kImportDescription[] = "Make a recording of other data: CSV, VideoIMUCapture, a log";

// All subcommands, in the order of --help. Inline, so that a program without them need not link them.
inline constexpr CommandEntry kCommands[] = {
    {"replay", "Play a recorded or the built-in session to the library", AddReplayCommand},
    {"explain", "Say in plain words what became of a frame, and why", AddExplainCommand},
    {"diff", "Compare two results of a replay, frame by frame", AddDiffCommand},
    {"generate", "Write a synthetic session as a recording", AddGenerateCommand},
    {"budget", "Tell whether rates, exposure and readout fit together, without a recording", AddBudgetCommand},
    {"fit", "Fit the lag of the samples to where an image really stood, beside the library's numbers", AddFitCommand},
    {"calibration", "Show cameras' calibration data and what the library makes of them", AddCalibrationCommand},
    {"dumps", "Check OIS hall dump files and list their frames", AddDumpsCommand},
    {"doctor", "Judge a built library before it is installed", AddDoctorCommand},
    {"report", "Draw a JSON result, or two over each other, as a page", AddReportCommand},
    {"trace", "Write a JSON result of replay as a trace for Perfetto", AddTraceCommand},
    {"summarize", "Put the results of many replays together", AddSummarizeCommand},
    {"import", kImportDescription, AddImportCommand},
    {"completion", "Write a shell's completion of these commands", AddCompletionCommand},
    {"help", "Show the help of a command", AddHelpCommand},
};

// Answers a command line that asks for --help or --version, on standard output, or that cannot be understood, on
// standard error with the nearest name for an unknown one. The exit code.
int AnswerParseError(CLI::App const& app, CLI::ParseError const& error);

// Runs the program's work with the standard streams open and signals remembered, and answers the exit code, also of
// what it throws.
int RunProgram(std::function<int()> const& work);

}  // namespace shadingctl
