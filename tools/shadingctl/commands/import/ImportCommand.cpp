#include <fmt/format.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cerrno>
#include <filesystem>
#include <system_error>
#include <vector>

#include "hosting/UnusableInput.h"
#include "tools/shadingctl/commands/Commands.h"
#include "tools/shadingctl/commands/import/ImportOptions.h"

namespace shadingctl {
namespace {

constexpr char kProgram[] = "shadingctl-import";

// Becomes the program beside this one, or else the one in PATH. Returns only by throwing UnusableInput.
int RunImporter(char** words) {
  std::string name = kProgram;
  std::vector<char*> arguments = {name.data()};
  do arguments.push_back(*words);
  while (*words++ != nullptr);
  std::error_code error;
  auto const self = std::filesystem::read_symlink("/proc/self/exe", error);
  std::string const beside = (self.parent_path() / kProgram).string();
  execv(beside.c_str(), arguments.data());
  int const reason = errno;
  execvp(kProgram, arguments.data());
  throw hosting::UnusableInput(
      fmt::format("{}: cannot be run: {}; expected this program beside shadingctl, with which it is built and "
                  "installed, or in PATH",
                  beside, std::generic_category().message(reason)));
}

}  // namespace

Command AddImportCommand(CLI::App& command) {
  auto const arguments = std::make_shared<ImportArguments>();
  AddImportOptions(command, *arguments);
  return [&command, arguments](char** words) {
    CompleteImportArguments(command, *arguments);
    return RunImporter(words);
  };
}

}  // namespace shadingctl
