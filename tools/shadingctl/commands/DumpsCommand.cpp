#include <tuple>

#include "hosting/QuotedText.h"
#include "hosting/UnusableInput.h"
#include "tools/shadingctl/commands/Options.h"
#include "tools/shadingctl/dumps/HallDumpFile.h"

namespace shadingctl {
namespace {

struct DumpsArguments {
  std::vector<std::string> names;  // of files and directories
  ResultOptions result;
  bool samples = false;
};

// Sorted by camera, then previews before captures, then by frame number.
bool IsBefore(HallDump const& left, HallDump const& right) {
  auto const key = [](DumpName const& name) {
    return std::make_tuple(name.camera, name.kind, name.Frame(), name.startOfFrameUs);
  };
  return key(left.name) < key(right.name);
}

int RunDumps(DumpsArguments const& arguments) {
  std::vector<HallDump> dumps;
  int exitCode = kExitDone;
  auto const complain = [&](std::string const& complaint) {
    TellPlainly(hosting::Escaped(complaint) + "\n");
    exitCode = std::max(exitCode, kExitDifference);
  };
  for (std::string const& name : arguments.names) {
    try {
      ReadDumps(name, dumps, complain);
    } catch (hosting::UnusableInput const& unusable) {
      complain(std::string("shadingctl: ") + unusable.what());
      exitCode = kExitUnusable;
    }
  }
  if (dumps.empty()) {
    if (exitCode != kExitUnusable)
      Tell(fmt::format("{}: expected OIS hall dump files, found none to read", fmt::join(arguments.names, ", ")));
    return kExitUnusable;
  }
  for (HallDump const& dump : dumps) {
    std::size_t const line = 2 * dump.samples.size() + 2;  // after the frame's and two for each sample
    if (auto const problem = CheckPosition(dump)) complain(fmt::format("{}:{}: {}", dump.file, line, *problem));
  }
  std::stable_sort(dumps.begin(), dumps.end(), IsBefore);
  std::vector<std::string> inputs;
  for (HallDump const& dump : dumps) inputs.push_back(dump.file);
  RefuseOverwriting(inputs, {arguments.result.output});
  OutputFile output(arguments.result.output);
  WriteDumps(arguments.result.format, output, dumps, arguments.samples);
  output.Finish();
  return exitCode;
}

void AddOptions(CLI::App& command, DumpsArguments& arguments) {
  command.add_option("DIR", arguments.names, "Directories with dump files, as pulled from a phone, or files")
      ->required()
      ->check(RefuseStandardStream);
  AddResultOptions(command, arguments.result);
  command.add_flag("--samples", arguments.samples, "List the samples of each span too; JSON always does");
}

}  // namespace

Command AddDumpsCommand(CLI::App& command) { return MakeCommand(command, AddOptions, RunDumps); }

}  // namespace shadingctl
