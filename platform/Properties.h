// System properties, from the camera utilities (libcam.utils.so).
#pragma once

#include <cstdint>

namespace NSCam::Utils::Properties {

// The integer that the property `key` holds, or `defaultValue` when it is not set or holds no integer.
std::int32_t property_get_int32(char const* key, std::int32_t defaultValue);

}  // namespace NSCam::Utils::Properties
