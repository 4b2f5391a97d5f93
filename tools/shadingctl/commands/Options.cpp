#include "tools/shadingctl/commands/Options.h"

#include <stdlib.h>

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
  AddFile(command, "-o,--output", output, "Write the result to this file when it is complete; - is standard output");
}

void AddResultOptions(CLI::App& command, ResultOptions& result, bool withCsv) {
  std::vector<std::pair<std::string, Format>> formats = {
      {"table", Format::kTable}, {"csv", Format::kCsv}, {"json", Format::kJson}};
  if (!withCsv) formats.erase(formats.begin() + 1);
  AddChoice<Format>(command, "--format", formats, result.format, "How to show the result")->default_str("table");
  AddOutput(command, result.output);
}

void AddHostOptions(CLI::App& command, HostOptions& host) {
  command
      .add_option("--device", host.device,
                  "Directory with device.json; by default that in VCAM_DEVICE, or else a built-in device")
      ->type_name("DIR");
  AddFile(command, "--library", host.library, "The shading library; by default the one built beside the tool");
}

Host ChooseHost(HostOptions const& options) {
  char const* const variable = getenv("VCAM_DEVICE");
  std::string const directory = !options.device.empty() ? options.device : variable != nullptr ? variable : "";
  // The device reads the variable at its first use, and ends the process when that fails.
  unsetenv("VCAM_DEVICE");
  return {directory, directory.empty() ? desktop::BuiltInDevice() : desktop::LoadDevice(directory),
          options.library.empty() ? hosting::DefaultLibraryPath() : options.library};
}

std::vector<std::string> FilesOf(Host const& host) {
  std::vector<std::string> files = {host.library};
  if (!host.directory.empty()) files.push_back(host.directory + "/device.json");
  return files;
}

void AddRecordingFiles(std::string const& directory, std::vector<std::string>& files) {
  for (char const* const file : recording::kRecordingFiles) files.push_back(directory + "/" + file);
}

}  // namespace shadingctl
