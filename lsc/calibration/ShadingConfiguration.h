// Where a camera's calibration data lie in its dump file, from the hardware configuration. Values are as configured:
// nothing about them is checked here.
#pragma once

#include <cstdint>
#include <optional>

namespace lsc {

// Whether the device has the shading feature at all.
bool HasShadingFeature() noexcept;

// Offset of the multi-golden record, in bytes; nullopt when the camera has none configured.
std::optional<std::int32_t> MultiGoldenOffset(int sensorIndex) noexcept;

// Offset and length of the PNC calibration block, in bytes.
struct BlockPlace {
  std::int32_t offset;
  std::int32_t length;
};

// nullopt when the camera has none configured.
std::optional<BlockPlace> PncBlockPlace(int sensorIndex) noexcept;

}  // namespace lsc
