// What the tool's programs have in common around their work.
#pragma once

#include "tools/shadingctl/commands/Commands.h"

namespace CLI {
class App;
class ParseError;
}  // namespace CLI

namespace shadingctl {

// Answers a command line that asks for --help or --version, on standard output, or that cannot be understood, on
// standard error with the nearest name for an unknown one. The exit code.
int AnswerParseError(CLI::App const& app, CLI::ParseError const& error);

// Runs the program's work with the standard streams open and signals remembered, and answers the exit code, also of
// what it throws.
int RunProgram(Command const& work);

}  // namespace shadingctl
