// Reads a device directory; docs/device-file.md describes its files.
#pragma once

#include <stdexcept>
#include <string>

#include "platform/desktop/Device.h"

namespace desktop {

// A file that cannot be used. what() is "FILE: PLACE: expected EXPECTATION", or "FILE:LINE: expected ..." for text that
// is no JSON, or "FILE: cannot be read: REASON".
class UnusableFile : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The settings in DIRECTORY/device.json. Throws UnusableFile; never answers with half a device.
DeviceSettings LoadDevice(std::string const& directory);

}  // namespace desktop
