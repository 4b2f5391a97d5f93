// The device that a session is played on, and its cameras whose lens positions the library may follow.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/desktop/Device.h"
#include "recording/Session.h"

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

}  // namespace shadingctl
