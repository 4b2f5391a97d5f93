#include "tools/shadingctl/commands/Options.h"

#include <stdlib.h>

#include <map>

#include "hosting/HostLibrary.h"
#include "hosting/Interruption.h"
#include "platform/desktop/DeviceFile.h"
#include "recording/Recording.h"
#include "tools/shadingctl/replay/Replay.h"

namespace shadingctl {

int ExitCodeOf(ReadingEnd const& end) {
  if (end.isInterrupted) return kExitSignal + hosting::InterruptedBy();
  return end.error.empty() ? kExitDone : kExitUnusable;
}

void AddOutput(CLI::App& command, std::string& output) {
  output = kStandardOutput;
  command.add_option("-o,--output", output, "Write the result to this file when it is complete; - is standard output")
      ->type_name("FILE");
}

void AddResultOptions(CLI::App& command, Format& format, std::string& output, std::vector<std::string> const& formats) {
  static std::map<std::string, Format> const kinds = {
      {"table", Format::kTable}, {"csv", Format::kCsv}, {"json", Format::kJson}};
  command
      .add_option_function<std::string>(
          "--format", [&format](std::string const& name) { format = kinds.at(name); }, "How to show the result")
      ->default_str("table")
      ->check(CLI::IsMember(formats));
  AddOutput(command, output);
}

void AddHostOptions(CLI::App& command, std::string& device, std::string& library) {
  command
      .add_option("--device", device,
                  "Directory with device.json; by default that in VCAM_DEVICE, or else a built-in device")
      ->type_name("DIR");
  command.add_option("--library", library, "The shading library; by default the one built beside the tool")
      ->type_name("FILE");
}

ChosenDevice ChooseDevice(std::string const& option) {
  char const* const variable = getenv("VCAM_DEVICE");
  std::string const directory = !option.empty() ? option : variable != nullptr ? variable : "";
  // The device reads the variable at its first use, and ends the process when that fails.
  unsetenv("VCAM_DEVICE");
  return {directory, directory.empty() ? desktop::BuiltInDevice() : desktop::LoadDevice(directory)};
}

std::string ChooseLibrary(std::string const& option) { return option.empty() ? hosting::DefaultLibraryPath() : option; }

std::vector<std::string> FilesOf(ChosenDevice const& device, std::string const& library) {
  std::vector<std::string> files = {library};
  if (!device.directory.empty()) files.push_back(device.directory + "/device.json");
  return files;
}

void AddRecordingFiles(std::string const& directory, std::vector<std::string>& files) {
  for (char const* const file : recording::kRecordingFiles) files.push_back(directory + "/" + file);
}

void TellOfRecording(recording::Session const& session) {
  for (std::string const& remark : session.Remarks()) Tell(remark);
}

void TellOfLeftOut(ResultHead const& head) {
  if (head.leftOut > 0) Tell(fmt::format("{}; left out {} such values", LeftOutText(head), head.leftOut));
}

}  // namespace shadingctl
