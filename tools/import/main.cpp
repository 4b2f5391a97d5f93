// shadingctl-import: makes recordings of other data. A program of its own, so that the tool itself needs no protobuf.
#include <algorithm>

#include "recording/Recording.h"
#include "tools/import/Imports.h"
#include "tools/shadingctl/commands/Commands.h"
#include "tools/shadingctl/commands/import/ImportOptions.h"
#include "tools/shadingctl/output/Console.h"
#include "tools/shadingctl/output/OutputFile.h"
#include "tools/shadingctl/output/RecordingWriter.h"

namespace shadingctl {
namespace {

std::unique_ptr<recording::Session> Open(ImportArguments const& arguments) {
  if (arguments.file.empty()) return OpenCsv(arguments);
  return arguments.form == ImportForm::kVideo ? OpenVideo(arguments) : OpenLog(arguments);
}

int Import(ImportArguments const& arguments) {
  std::vector<std::string> inputs = {arguments.file, arguments.framesFile, arguments.hallFile};
  inputs.erase(std::remove(inputs.begin(), inputs.end(), ""), inputs.end());
  std::vector<std::string> outputs;
  for (char const* const file : recording::kRecordingFiles) outputs.push_back(arguments.directory + "/" + file);
  RefuseOverwriting(inputs, outputs);
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
