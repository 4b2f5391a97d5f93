#include "tools/shadingctl/commands/Options.h"
#include "tools/shadingctl/commands/SyntheticArguments.h"
#include "tools/shadingctl/output/RecordingWriter.h"
#include "tools/shadingctl/synthetic/SyntheticReference.h"
#include "tools/shadingctl/synthetic/SyntheticSession.h"

namespace shadingctl {
namespace {

struct GenerateArguments {
  std::string directory;
  bool force = false;
  std::string reference;  // empty: none
  SyntheticArguments session;
};

int Generate(GenerateArguments const& arguments) {
  SyntheticOptions const options = arguments.session.Session();
  if (!arguments.reference.empty()) {
    std::string const& directory = arguments.directory;
    RefuseOverwriting(
        {}, {arguments.reference, directory + "/recording.csv", directory + "/calls.csv", directory + "/hall.csv"});
  }
  SyntheticSession session(options);
  OutputFile console(kStandardOutput);
  WriteRecording(session, arguments.directory, arguments.force, console);
  if (!arguments.reference.empty()) WriteReference(options, arguments.reference);
  return kExitDone;
}

constexpr char const* kGenerateExamples = R"(Without options this is the session that `shadingctl replay` has built in.

Examples:
  shadingctl generate /tmp/session
  shadingctl generate /tmp/slow --hall-rate 200 --jitter-us 300 --seed 7
  shadingctl generate /tmp/long --frames 100000 --drop 0
  shadingctl generate /tmp/night --exposure-us 60000 --frame-rate 15
  shadingctl generate /tmp/pair --cameras 2 --types 0,5 --exposure1-us 1000
  shadingctl generate /tmp/sick --clock-offset-us -12000 --end-stop 30)";

void AddOptions(CLI::App& command, GenerateArguments& arguments) {
  command.footer(kGenerateExamples);
  command.add_option("DIR", arguments.directory, "Directory for the recording; made when missing")
      ->required()
      ->check(RefuseStandardStream);
  arguments.session.AddTo(command);
  command
      .add_option("--reference", arguments.reference,
                  "Also write where the image of a fixed target stood in each frame, for `shadingctl fit`")
      ->check(RefuseStandardStream);
  command.add_flag("--force", arguments.force, "Replace a recording that is there already");
}

}  // namespace

Command AddGenerateCommand(CLI::App& command) { return MakeCommand(command, AddOptions, Generate); }

}  // namespace shadingctl
