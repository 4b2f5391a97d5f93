// The directory in which the library looks for calibration data, for one process.
#pragma once

#include <string>

namespace desktop {

// Where a phone keeps the EEPROM dump files of its camera modules. The library knows no other place.
constexpr char kCalibrationDirectory[] = "/mnt/vendor/persist/camera";

// Lets `directory`, or an empty one in memory where the name is empty, appear at kCalibrationDirectory, for this
// process and those that it starts and for nobody else: in a private mount namespace, with a user namespace of its own
// where the process may not do without; in a plain chroot, which has no user namespaces, root alone may. What else lies
// below /mnt stays in view. Call it before the first thread is started; a second call replaces the first one's
// directory.
//
// Empty on success, else one line that says what could not be had. A failed call may leave the process in its new
// namespace, without any other effect.
std::string MountCalibration(std::string const& directory);

}  // namespace desktop
