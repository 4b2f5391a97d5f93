// The calibration data of the built-in device: what its hardware configuration says about the EEPROM dump files of its
// seven cameras, and the files themselves. docs/dump-file.md lists what each camera is there to show.
#pragma once

#include <string>

#include "platform/desktop/Device.h"

namespace desktop {

// The first cameras have sound data; those of the others are broken, each in its own way.
constexpr int kBuiltInSoundCameras = 3;

// The phone's name for the dump file of a sensor index; empty where it has none (7 to 13, and everything that is no
// sensor index).
std::string CalibrationFileName(int sensorIndex);

// Adds the feature "FeatureShading" and the sensors' row order to `settings`, whose sensors must be there already.
void AddBuiltInCalibration(DeviceSettings& settings);

// Writes the dump files to an existing directory, the same bytes every time. The last camera has none. Empty on
// success, else one line that says what failed.
std::string WriteBuiltInCalibration(std::string const& directory);

}  // namespace desktop
