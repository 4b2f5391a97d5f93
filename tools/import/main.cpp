// shadingctl-import: makes recordings of other data. A program of its own, so that the tool itself needs no protobuf.
#include "tools/import/Imports.h"
#include "tools/shadingctl/commands/Commands.h"
#include "tools/shadingctl/commands/import/ImportOptions.h"
#include "tools/shadingctl/output/Console.h"
#include "tools/shadingctl/output/FileIdentity.h"
#include "tools/shadingctl/output/RecordingWriter.h"

namespace shadingctl {
namespace {

std::unique_ptr<recording::Session> Open(ImportArguments const& arguments) {
  if (arguments.file.empty()) return OpenCsv(arguments);
  return arguments.form == ImportForm::kVideo ? OpenVideo(arguments) : OpenLog(arguments);
}

// Files of the recording that is written or replaced.
void RefuseOverwritingInputs(ImportArguments const& arguments) {
  std::vector<std::string> inputs;
  for (std::string const& file : {arguments.file, arguments.framesFile, arguments.hallFile}) {
    if (!file.empty()) inputs.push_back(file);
  }
  std::vector<std::string> outputs;
  for (char const* const name : {"/recording.csv", "/calls.csv", "/hall.csv", "/frames.csv"}) {
    outputs.push_back(arguments.directory + name);
  }
  RefuseOverwriting(inputs, outputs);
}

int Import(ImportArguments const& arguments) {
  RefuseOverwritingInputs(arguments);
  auto const imported = Open(arguments);
  OutputFile console(kStandardOutput);
  WriteRecording(*imported, arguments.directory, arguments.force, console);
  for (std::string const& remark : imported->Remarks()) Tell(remark);
  return kExitDone;
}

}  // namespace
}  // namespace shadingctl

int main(int argc, char** argv) {
  return shadingctl::RunProgram([&] { return shadingctl::ParseAndImport(argc, argv, shadingctl::Import); });
}
