#include "tools/shadingctl/replay/PlayedSettings.h"

#include "tools/shadingctl/replay/DeviceCameras.h"

namespace shadingctl {
namespace {

constexpr char const* kLogProperty = "vendor.veyra.3a.lscutil.log";
constexpr char const* kModeProperty = "vendor.debug.ois.hall.calculation";
constexpr int kEveryMessage = 5;  // the logging library's most talkative setting

}  // namespace

desktop::DeviceSettings PlayedSettings(desktop::DeviceSettings device, recording::SessionSettings const& recorded,
                                       int logLevel) {
  if (recorded.cameras) SetCameras(*recorded.cameras, device);
  if (recorded.calculationMode) device.properties[kModeProperty] = *recorded.calculationMode;
  device.properties[kLogProperty] = logLevel;
  device.log.systemLog = true;  // the tool reads the library's messages there
  device.log.maximumLevel = kEveryMessage;
  return device;
}

}  // namespace shadingctl
