#include <cerrno>
#include <cstdio>
#include <cstring>

#include "hosting/ElfImage.h"
#include "hosting/HostLibrary.h"
#include "hosting/Interruption.h"
#include "hosting/QuotedText.h"
#include "hosting/UnusableInput.h"
#include "recording/InputFile.h"
#include "tools/shadingctl/commands/Options.h"
#include "tools/shadingctl/doctor/Diagnosis.h"
#include "tools/shadingctl/doctor/ShadingInterface.h"

namespace shadingctl {
namespace {

struct DoctorArguments {
  std::string library;
  ResultOptions result;
  std::string target;  // empty: any machine
  bool load = false;
};

std::string ReadWhole(std::string const& path) {
  recording::InputFile file(path);
  std::string bytes;
  std::vector<char> buffer(std::size_t{1} << 16U);
  while (std::size_t const count = file.Read(buffer.data(), buffer.size())) {
    bytes.append(buffer.data(), count);
    if (bytes.size() > hosting::kLargestLibraryBytes) {
      throw hosting::UnusableInput(fmt::format("{}: expected a library of at most {} bytes, found more", file.Name(),
                                               hosting::kLargestLibraryBytes));
    }
  }
  return bytes;
}

void Load(std::string const& library, std::vector<Finding>& findings) {
  hosting::LoadTrial const trial = hosting::TryToLoad(library);
  bool const isLoaded = trial.problem.empty();
  findings.push_back({"load", isLoaded ? Judgement::kSound : Judgement::kFault,
                      isLoaded ? "createInstance hands out its object" : trial.problem});
  if (!trial.output.empty())
    findings.push_back({"load", Judgement::kNote, "it writes " + hosting::Quoted(trial.output)});
}

int RunDoctor(DoctorArguments const& arguments) {
  if (arguments.load && arguments.library == kStandardInput) {
    throw CLI::ValidationError("--load", "expected a file, found -, which is standard input");
  }
  RefuseOverwriting({arguments.library}, {arguments.result.output});
  ElfFile const file = ReadElf(ReadWhole(arguments.library), arguments.library, kTableName);
  std::vector<Finding> findings = Diagnose(file, arguments.target == "phone");
  if (arguments.load && IsShadingLibrary(file)) Load(arguments.library, findings);
  OutputFile output(arguments.result.output);
  Json const json = DiagnosisJson(arguments.library, findings);
  output.Write(arguments.result.format == Format::kJson ? JsonText(json) : DiagnosisText(json));
  output.Finish();
  return IsSound(findings) ? kExitDone : kExitDifference;
}

void AddOptions(CLI::App& command, DoctorArguments& arguments) {
  command
      .add_option("LIBRARY", arguments.library,
                  "The shared object, of this or of the phone's processor; - is standard input")
      ->required();
  AddResultOptions(command, arguments.result, false);
  command.add_option("--for", arguments.target, "Judge it for that machine too: a phone lacks a desktop's run time")
      ->check(CLI::IsMember({"phone"}));
  command.add_flag("--load", arguments.load, "Load it too, in a process of its own, and ask for its object");
}

}  // namespace

Command AddDoctorCommand(CLI::App& command) { return MakeCommand(command, AddOptions, RunDoctor); }

}  // namespace shadingctl
