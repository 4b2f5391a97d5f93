#include "lsc/calibration/ShadingConfiguration.h"

#include <cstdio>

#include "platform/HwConfiguration.h"

namespace lsc {
namespace {

constexpr char kShadingFeature[] = "FeatureShading";
constexpr std::size_t kKeySize = 32;  // "PNCCaliData[13]", the longest, with room to spare

}  // namespace

bool HasShadingFeature() noexcept { return GetKeyCount(kShadingFeature) != 0; }

std::optional<std::int32_t> MultiGoldenOffset(int sensorIndex) noexcept {
  char key[kKeySize] = {};
  std::snprintf(key, sizeof key, "multiGolden[%d]", sensorIndex);
  int offset = 0;
  if (GetIntegerConfiguration(kShadingFeature, key, &offset) != 0) return std::nullopt;
  return offset;
}

std::optional<BlockPlace> PncBlockPlace(int sensorIndex) noexcept {
  char key[kKeySize] = {};
  std::snprintf(key, sizeof key, "PNCCaliData[%d]", sensorIndex);
  int place[2] = {};
  if (GetIntegerListConfiguration(kShadingFeature, key, place, 2) != 0) return std::nullopt;
  return BlockPlace{place[0], place[1]};
}

}  // namespace lsc
