// The options of an import: the one table behind `shadingctl import` and shadingctl-import.
#pragma once

#include <functional>

#include "tools/shadingctl/commands/import/ImportArguments.h"

namespace CLI {
class App;
}

namespace shadingctl {

// `arguments` must outlive `command`.
void AddImportOptions(CLI::App& command, ImportArguments& arguments);

// After parsing: fills in the form of FILE. Throws CLI::ParseError where the options contradict each other.
void CompleteImportArguments(CLI::App const& command, ImportArguments& arguments);

// Parses the command line of shadingctl-import and runs `import`; the exit code.
int ParseAndImport(int argc, char** argv, std::function<int(ImportArguments const&)> const& import);

}  // namespace shadingctl
