// What a session is played on: the device with the cameras whose lens positions the library may follow, and the
// library.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/desktop/Device.h"
#include "recording/Session.h"

class VeyraShadingUtil;

namespace shadingctl {

constexpr char kModeProperty[] = "vendor.debug.ois.hall.calculation";  // how the library reduces a span

struct Camera {
  std::int32_t sensorId = 0;
  std::int32_t sensorType = 0;
};

// The camera asked for with its sensor type, or the first one of the sensor map. A camera that the map does not list
// has no type; the library refuses it whatever it is.
Camera CameraOf(desktop::DeviceSettings const& settings, std::optional<std::int32_t> wanted);

// Throws UnusableInput, which names the session and the cameras, where the sensor map does not list the one asked for.
void ExpectCamera(desktop::DeviceSettings const& settings, std::optional<std::int32_t> wanted,
                  std::string const& session);

// Makes these cameras the sensor map, and gives the device an image sensor for each that it lacks. A camera that was
// not in the map gets a type of its own: the library takes monitors of one type for the same.
void SetCameras(std::vector<std::int32_t> const& cameras, desktop::DeviceSettings& settings);

// `device` with the cameras and the calculation mode that the session was recorded with, the library at this log level,
// and a log that tells all of its messages.
desktop::DeviceSettings PlayedSettings(desktop::DeviceSettings device, recording::SessionSettings const& recorded,
                                       int logLevel);

// Loads the library. One that is not the tool's own is loaded in a process of its own first, so that one that crashes,
// hangs or ends its host is refused; what it writes is told once, and nothing of it is in a result: open the outputs
// before. Configure the device first. Throws UnusableInput and Interrupted.
VeyraShadingUtil& LoadLibrary(std::string const& path);

}  // namespace shadingctl
