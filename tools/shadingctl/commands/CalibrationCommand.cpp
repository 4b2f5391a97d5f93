#include <filesystem>

#include "hosting/UnusableInput.h"
#include "platform/desktop/BuiltInCalibration.h"
#include "platform/desktop/CalibrationMount.h"
#include "tools/shadingctl/calibration/CameraCalibration.h"
#include "tools/shadingctl/commands/Options.h"
#include "tools/shadingctl/replay/PlayedDevice.h"

namespace shadingctl {
namespace {

struct CalibrationArguments {
  std::optional<int> camera;
  bool all = false;
  ResultOptions result;
  std::string raw;  // empty: nowhere
  HostOptions host;
};

std::vector<int> CamerasToShow(CalibrationArguments const& arguments, Host const& host) {
  if (arguments.camera) return {*arguments.camera};
  std::vector<int> cameras = CamerasOf(host.settings);
  if (!host.directory.empty() || arguments.all) return cameras;
  auto const isBroken = [](int camera) { return camera >= desktop::kBuiltInSoundCameras; };
  cameras.erase(std::remove_if(cameras.begin(), cameras.end(), isBroken), cameras.end());
  return cameras;
}

// The files that the command reads, as far as their names are known.
std::vector<std::string> InputsOf(Host const& host) {
  std::vector<std::string> inputs = FilesOf(host);
  std::error_code failure;
  if (host.directory.empty()) return inputs;
  for (auto const& entry : std::filesystem::directory_iterator(host.directory + "/eeprom", failure)) {
    inputs.push_back(entry.path().string());
  }
  return inputs;
}

// Lets the dump files in eeprom/ of the device's directory, or those of the built-in device, appear at the library's
// path. A directory without eeprom/ is a device without dump files. Throws UnusableInput where neither root nor a
// namespace of its own is to be had.
void MountDumpFiles(std::string const& deviceDirectory) {
  std::error_code failure;
  std::string const own = deviceDirectory + "/eeprom";
  bool const hasOwn = !deviceDirectory.empty() && (std::filesystem::exists(own, failure) || failure);
  std::string error = desktop::MountCalibration(hasOwn ? own : "");
  if (error.empty() && deviceDirectory.empty()) {
    error = desktop::WriteBuiltInCalibration(desktop::kCalibrationDirectory);
  }
  if (!error.empty()) throw hosting::UnusableInput(error);
}

std::vector<CameraCalibration> AskAll(Host const& host, std::vector<int> const& indices) {
  MountDumpFiles(host.directory);
  desktop::Device& device = desktop::Device::Get();
  device.Configure(host.settings);
  VeyraShadingUtil& library = LoadLibrary(host.library);
  std::vector<CameraCalibration> cameras;
  cameras.reserve(indices.size());
  for (int const index : indices) cameras.push_back(AskCalibration(library, device, index));
  return cameras;
}

int RunCalibration(CalibrationArguments const& arguments) {
  Host host = ChooseHost(arguments.host);
  host.settings.log = {false, true, 5};  // the tool reads the library's messages from the file sink
  std::vector<int> const indices = CamerasToShow(arguments, host);
  if (indices.empty())
    throw hosting::UnusableInput(fmt::format("{}: expected a device with cameras, found none", host.directory));

  RefuseOverwriting(InputsOf(host), {arguments.result.output, arguments.raw});
  // Opened before anything is mounted: files below /mnt cannot be reached afterwards.
  OutputFile output(arguments.result.output);
  std::optional<OutputFile> raw;
  if (!arguments.raw.empty()) raw.emplace(arguments.raw);

  std::vector<CameraCalibration> const cameras = AskAll(host, indices);
  bool const isBuiltIn = host.directory.empty();
  std::string const name = isBuiltIn ? "the built-in device" : "the device in " + host.directory;
  Json const document = CalibrationJson(name, cameras);
  output.Write(arguments.result.format == Format::kJson  ? JsonText(document)
               : arguments.result.format == Format::kCsv ? CalibrationCsv(document)
                                                         : CalibrationText(document));
  if (isBuiltIn && !arguments.all && !arguments.camera && arguments.result.format == Format::kTable) {
    output.Write("\nThe built-in device has cameras with broken data as well: --all shows them.\n");
  }
  auto const& block = cameras.front().block;
  if (raw && block) raw->Write({reinterpret_cast<char const*>(block->data()), block->size()});
  OutputFile::FinishAll({&output, raw && block ? &*raw : nullptr});
  if (raw && !block) Tell(fmt::format("{}: not written, as the library hands out no block", arguments.raw));
  auto const isSound = [](Json const& camera) {
    return camera["table"]["sound"].get<bool>() && camera["block"]["sound"].get<bool>();
  };
  auto const& shown = document["cameras"];
  return std::all_of(shown.begin(), shown.end(), isSound) ? kExitDone : kExitDifference;
}

void AddOptions(CLI::App& command, CalibrationArguments& arguments) {
  auto* const camera =
      AddNumber(command, "--camera", arguments.camera, 0, kSensorSlotCount - 1, "Sensor index; its mask is 1 << N");
  command
      .add_flag("--all", arguments.all,
                "Every camera of the device. Without it and --camera, the built-in device shows those with sound data")
      ->excludes(camera);
  AddResultOptions(command, arguments.result);
  AddFile(command, "--raw", arguments.raw, "Write the camera's block to this file, as handed out")->needs(camera);
  AddHostOptions(command, arguments.host);
}

}  // namespace

Command AddCalibrationCommand(CLI::App& command) { return MakeCommand(command, AddOptions, RunCalibration); }

}  // namespace shadingctl
