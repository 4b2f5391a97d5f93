// The rolling-shutter time of a camera's sensor mode: asked of the driver, stored in the camera's monitor.

#include <cstdint>

#include "lsc/VeyraShadingUtil.h"
#include "lsc/log/Log.h"
#include "platform/HalSensor.h"

namespace {

constexpr char kCallerName[] = "VeyraShadingUtil";
constexpr std::uint32_t kCommandRollingShutter = 0x400F;  // of the platform's sensor driver

// The rolling-shutter time that the driver reports for the mode, in ns; 0 when there is no sensor list, no handle or no
// answer. The driver may replace the mode by the one that it answers for.
std::uint32_t AskDriver(int sensorId, std::uint32_t& sensorMode) noexcept {
  std::uint32_t rollingShutterNs = 0;
  NSCam::IHalSensorList* const list = NSCam::IHalSensorList::get();
  if (list == nullptr) return 0;

  std::uint32_t const device = list->sensorDevice(list->sensorIndex(sensorId));
  NSCam::IHalSensor* const sensor = list->openSensor(kCallerName, sensorId);
  if (sensor == nullptr) return 0;

  sensor->sendCommand(device, kCommandRollingShutter, reinterpret_cast<std::uintptr_t>(&rollingShutterNs), 0,
                      reinterpret_cast<std::uintptr_t>(&sensorMode));
  sensor->release(kCallerName);
  return rollingShutterNs;
}

}  // namespace

[[gnu::cold]] unsigned int VeyraShadingUtil::StoreRollingShutter(int sensorId, unsigned int sensorMode) {
  // Before the lock: a driver may take its time.
  std::uint32_t const rollingShutterNs = AskDriver(sensorId, sensorMode);

  lsc::MutexLock const lock(mMonitorMutex);
  if (VeyraSensorMonitor* const monitor = FindMonitor(sensorId)) {
    monitor->setRollingShutter(rollingShutterNs, sensorMode);
    LSC_LOGI_NONZERO("rolling shutter:%u sensorMode:%u", rollingShutterNs, sensorMode);
  }
  return rollingShutterNs;
}

unsigned int VeyraShadingUtil::QueryRollingShutter(int sensorId) {
  lsc::MutexLock const lock(mMonitorMutex);
  VeyraSensorMonitor const* const monitor = FindMonitor(sensorId);
  if (monitor == nullptr) return 0;

  LSC_LOGI_NONZERO("query rolling shutter:%u", monitor->rollingShutterNs());
  return monitor->rollingShutterNs();
}
