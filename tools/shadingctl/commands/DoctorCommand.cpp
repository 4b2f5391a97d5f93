#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "hosting/Interruption.h"
#include "hosting/UnusableInput.h"
#include "recording/InputStream.h"
#include "tools/shadingctl/commands/Commands.h"
#include "tools/shadingctl/commands/Options.h"
#include "tools/shadingctl/doctor/DiagnosisWriter.h"
#include "tools/shadingctl/doctor/LoadTrial.h"
#include "tools/shadingctl/doctor/ShadingInterface.h"
#include "tools/shadingctl/output/FileIdentity.h"

namespace shadingctl {
namespace {

// A library with its debug information takes some MiB.
constexpr std::size_t kMaximumBytes = std::size_t{256} << 20U;

struct DoctorArguments {
  std::string library;
  std::string format = "table";
  std::string output = kStandardOutput;
  bool load = false;
};

std::string ReadWhole(std::string const& path) {
  std::string const shown = path == kStandardInput ? "standard input" : path;
  recording::InputStream const file = recording::OpenInput(path);
  std::string bytes;
  std::vector<char> buffer(std::size_t{1} << 16U);
  std::size_t count = 0;
  while (file && (count = std::fread(buffer.data(), 1, buffer.size(), file.get())) > 0) {
    bytes.append(buffer.data(), count);
    if (bytes.size() > kMaximumBytes) {
      throw hosting::UnusableInput(
          fmt::format("{}: expected a library of at most {} bytes, found more", shown, kMaximumBytes));
    }
  }
  if (!file || std::ferror(file.get()) != 0) {
    if (hosting::InterruptedBy() != 0) throw hosting::Interrupted();
    throw hosting::UnusableInput(fmt::format("{}: cannot be read: {}", shown, std::strerror(errno)));
  }
  return bytes;
}

int RunDoctor(DoctorArguments const& arguments) {
  if (arguments.load && arguments.library == kStandardInput) {
    throw CLI::ValidationError("--load", "expected a file, found -, which is standard input");
  }
  RefuseOverwriting({arguments.library}, {arguments.output});
  std::vector<Finding> findings = Diagnose(ReadElf(ReadWhole(arguments.library), arguments.library, kTableName));
  if (arguments.load) findings.push_back(TryToLoad(arguments.library));
  OutputFile output(arguments.output);
  if (arguments.format == "json") {
    WriteDiagnosisJson(output, arguments.library, findings);
  } else {
    WriteDiagnosisTable(output, findings);
  }
  output.Finish();
  return IsSound(findings) ? kExitDone : kExitDifference;
}

constexpr char const* kDoctorExamples = R"(The file is read, not run, so that a phone's library can be judged on a desk.
docs/porting.md says what each line means.

Exit code: 0 no fault, 1 a fault, 3 not a whole shared object for x86-64 or AArch64.

Examples:
  shadingctl doctor libvcam_shadingutil.so
  shadingctl doctor build/release/lib/libvcam_shadingutil.so --load
  shadingctl doctor libvcam_shadingutil.so --format json -o doctor.json)";

void AddOptions(CLI::App& command, DoctorArguments& arguments) {
  command.footer(kDoctorExamples);
  command
      .add_option("LIBRARY", arguments.library,
                  "The shared object, of this or of the phone's processor; - is standard input")
      ->required();
  command.add_option("--format", arguments.format, "How to show the result")
      ->capture_default_str()
      ->check(CLI::IsMember({"table", "json"}));
  AddOutput(command, arguments.output);
  command.add_flag("--load", arguments.load, "Load it too, in a process of its own, and ask for its object");
}

}  // namespace

Command AddDoctorCommand(CLI::App& command) { return MakeCommand(command, AddOptions, RunDoctor); }

}  // namespace shadingctl
