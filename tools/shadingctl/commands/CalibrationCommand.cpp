#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdlib>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "hosting/HostLibrary.h"
#include "hosting/UnusableInput.h"
#include "platform/desktop/DeviceFile.h"
#include "tools/shadingctl/calibration/CalibrationFiles.h"
#include "tools/shadingctl/calibration/CalibrationVerdict.h"
#include "tools/shadingctl/calibration/CalibrationWriter.h"
#include "tools/shadingctl/commands/Commands.h"

namespace shadingctl {
namespace {

std::map<std::string, Format> const kFormats = {
    {"table", Format::kTable}, {"csv", Format::kCsv}, {"json", Format::kJson}};

struct Arguments {
  std::optional<int> camera;  // empty: all
  std::string format = "table";
  std::string output;   // empty: standard output
  std::string raw;      // empty: nowhere
  std::string device;   // empty: the device of the environment, or the built-in one
  std::string library;  // empty: the one built beside the tool
};

std::string DeviceDirectory(Arguments const& arguments) {
  if (!arguments.device.empty()) return arguments.device;
  char const* const directory = std::getenv("VCAM_DEVICE");
  return directory == nullptr ? "" : directory;
}

void WriteRaw(CameraCalibration const& camera, std::string const& path) {
  if (!camera.block) {
    fmt::print(stderr, "shadingctl: {}: not written, as the library hands out no block\n", path);
    return;
  }
  OutputFile raw(path);
  raw.Write({reinterpret_cast<char const*>(camera.block->data()), camera.block->size()});
  raw.Finish();
}

// Nothing is left behind when this returns, whatever becomes of the output.
std::vector<CameraCalibration> AskAll(Arguments const& arguments, std::string const& directory,
                                      desktop::DeviceSettings const& settings, std::vector<int> const& indices) {
  ScratchDirectory const scratch;
  MountDumpFiles(directory, scratch);
  desktop::Device& device = desktop::Device::Get();
  device.Configure(settings);
  VeyraShadingUtil& library =
      hosting::LoadShadingLibrary(arguments.library.empty() ? hosting::DefaultLibraryPath() : arguments.library);
  std::vector<CameraCalibration> cameras;
  cameras.reserve(indices.size());
  for (int const index : indices) cameras.push_back(AskCalibration(library, device, index));
  return cameras;
}

int RunCalibration(Arguments const& arguments) {
  std::string const directory = DeviceDirectory(arguments);
  desktop::DeviceSettings settings = directory.empty() ? desktop::BuiltInDevice() : desktop::LoadDevice(directory);
  settings.log = {false, true, 5};  // the tool reads the library's messages from the file sink
  std::vector<int> const indices = arguments.camera ? std::vector<int>{*arguments.camera} : CamerasOf(settings);
  if (indices.empty()) throw hosting::UnusableInput(fmt::format("{}: expected a device with cameras", directory));

  std::vector<CameraCalibration> const cameras = AskAll(arguments, directory, settings, indices);
  OutputFile output = arguments.output.empty() ? OutputFile() : OutputFile(arguments.output);
  WriteCalibration(kFormats.at(arguments.format), output,
                   directory.empty() ? "the built-in device" : "the device in " + directory, cameras);
  output.Finish();
  if (!arguments.raw.empty()) WriteRaw(cameras.front(), arguments.raw);
  bool const isSound = std::all_of(cameras.begin(), cameras.end(), [](CameraCalibration const& camera) {
    return JudgeTable(camera).sound && JudgeBlock(camera).sound;
  });
  return isSound ? kExitDone : kExitDifference;
}

constexpr char const* kExamples = R"(Data that are missing or marked invalid give these defaults:
  table 1                 no configuration, no dump file, or an invalid record
  0x2000 in every value   a block that is marked invalid or is not whole
  buffer untouched        no configuration, no dump file, or an unusable length

Exit code: 0 all is there and valid, 1 a default is in use or data are cut short.

The dump files are those in DIR/eeprom of --device, under the phone's names. They
appear where the library looks for them in a mount namespace of this process alone,
which needs root or user namespaces.

Examples:
  shadingctl calibration
  shadingctl calibration --camera 2 --raw block.bin
  shadingctl calibration --device my-phone --format csv -o calibration.csv)";

}  // namespace

void AddCalibrationCommand(CLI::App& app, Command& chosen) {
  auto const arguments = std::make_shared<Arguments>();
  CLI::App* const command =
      app.add_subcommand("calibration", "Show cameras' calibration data and what the library makes of them");
  command->footer(kExamples);
  auto* const camera = command->add_option("--camera", arguments->camera, "Sensor index; its mask is 1 << N")
                           ->check(CLI::Range(0, kSensorSlotCount - 1));
  command->add_flag("--all", "Every camera of the device; so it is without --camera")->excludes(camera);
  command->add_option("--format", arguments->format, "How to show the result")
      ->capture_default_str()
      ->check(CLI::IsMember({"table", "csv", "json"}));
  command->add_option("-o,--output", arguments->output, "Write the result to this file");
  command->add_option("--raw", arguments->raw, "Write the camera's block to this file, as handed out")->needs(camera);
  command->add_option("--device", arguments->device,
                      "Directory with device.json and eeprom/; by default a built-in device");
  command->add_option("--library", arguments->library, "The shading library; by default the one built beside the tool");
  command->callback([arguments, &chosen] { chosen = [arguments] { return RunCalibration(*arguments); }; });
}

}  // namespace shadingctl
