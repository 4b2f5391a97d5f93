// What the library reads once, when its object is constructed: four system properties and the sensor map.

#include <algorithm>
#include <memory>
#include <new>

#include "lsc/VeyraShadingUtil.h"
#include "lsc/log/Log.h"
#include "platform/HwConfiguration.h"
#include "platform/Properties.h"

namespace {

constexpr char kOisFeature[] = "FeatureOisCompensationSupport";
constexpr char kSensorMapKey[] = "sensorMaps";

// Whether `size` bytes can be allocated right now: a container that cannot would end the process.
bool CanAllocate(std::size_t size) {
  std::unique_ptr<char[]> const trial(new (std::nothrow) char[size]);
  return trial != nullptr;
}

}  // namespace

void VeyraShadingUtil::ReadProperties() noexcept {
  using NSCam::Utils::Properties::property_get_int32;
  gLogLevel = property_get_int32("vendor.veyra.3a.lscutil.log", 0);
  g_preOisDump = property_get_int32("vendor.debug.preview.lsc.ois.dump", 0);
  g_capOisDump = property_get_int32("vendor.debug.capture.lsc.ois.dump", 0);
  g_oisDebug = property_get_int32("vendor.debug.ois.hall.calculation", 1);
}

// The list of (sensorId, sensorType) pairs, flat. Nothing about its size is trusted: an odd count, or one for which
// there is no memory, leaves the map empty.
void VeyraShadingUtil::ReadSensorMap(char const* caller) noexcept {
  unsigned int const count = GetValuesCount(kOisFeature, kSensorMapKey);
  if (count == 0 || count % 2 != 0) return;

  std::unique_ptr<int[]> const values(new (std::nothrow) int[count]);
  if (!values) return;
  if (GetIntegerListConfiguration(kOisFeature, kSensorMapKey, values.get(), count) != 0) return;

  unsigned int const pairCount = count / 2;
  if (!CanAllocate(pairCount * sizeof(decltype(mSensorMaps)::value_type))) return;
  mSensorMaps.reserve(pairCount);
  for (unsigned int i = 0; i < count; i += 2) {
    mSensorMaps.emplace_back(values[i], values[i + 1]);
    LSC_LOGI_FOR(caller, "monitor sensorId: %d, sensorType: %d", values[i], values[i + 1]);
  }
}

bool VeyraShadingUtil::IsSupportSensor(int sensorId) {
  return std::any_of(mSensorMaps.begin(), mSensorMaps.end(),
                     [sensorId](auto const& entry) { return entry.first == sensorId; });
}
