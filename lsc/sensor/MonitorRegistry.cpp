// The list of monitors and the operations on one of them, with mMonitorMutex held. Queries: SampleQuery.cpp.

#include <algorithm>
#include <memory>

#include "lsc/VeyraShadingUtil.h"
#include "lsc/log/Log.h"

namespace {

constexpr int kNoSensor = -1;  // a host's "none", in place of a sensorId or a sensorType

}  // namespace

VeyraShadingUtil::VeyraSensorMonitor* VeyraShadingUtil::FindMonitor(int sensorId) const noexcept {
  for (auto const& monitor : mSensorMonitors) {
    if (monitor->isFor(sensorId)) return monitor.get();
  }
  return nullptr;
}

VeyraShadingUtil::VeyraSensorMonitor* VeyraShadingUtil::FindMonitor(int sensorId, int sensorType) const noexcept {
  for (auto const& monitor : mSensorMonitors) {
    if (monitor->isForEither(sensorId, sensorType)) return monitor.get();
  }
  return nullptr;
}

[[gnu::cold]] void VeyraShadingUtil::AddMonitor(int sensorId, int sensorType) noexcept {
  mSensorMonitors.push_back(std::make_shared<VeyraSensorMonitor>(sensorId, sensorType));
}

[[gnu::cold]] void VeyraShadingUtil::RemoveMonitor(VeyraSensorMonitor const* monitor) noexcept {
  mSensorMonitors.erase(std::find_if(mSensorMonitors.begin(), mSensorMonitors.end(),
                                     [monitor](auto const& held) { return held.get() == monitor; }));
}

[[gnu::cold]] bool VeyraShadingUtil::RegisterAndStartSensorMonitor(int sensorId, int sensorType) {
  return RegisterSensorMonitor(sensorId, sensorType) && StartSensorMonitor(sensorId, sensorType);
}

[[gnu::cold]] bool VeyraShadingUtil::RegisterSensorMonitor(int sensorId, int sensorType) {
  if (sensorId == kNoSensor || sensorType == kNoSensor) return false;
  if (!IsSupportSensor(sensorId)) return false;

  lsc::MutexLock const lock(mMonitorMutex);
  if (VeyraSensorMonitor const* const monitor = FindMonitor(sensorId, sensorType)) {
    LSC_LOGW("Sensor Monitor already registered sensorId:%d sensorType:%d", monitor->sensorId(), monitor->sensorType());
    return true;
  }
  AddMonitor(sensorId, sensorType);
  LSC_LOGI("Register Sensor Monitor sensorId:%d sensorType:%d", sensorId, sensorType);
  return true;
}

[[gnu::cold]] bool VeyraShadingUtil::StartSensorMonitor(int sensorId, int sensorType) {
  lsc::MutexLock const lock(mMonitorMutex);
  VeyraSensorMonitor* const monitor = FindMonitor(sensorId, sensorType);
  if (monitor == nullptr) {
    LSC_LOGW("Sensor Monitor not registered sensorId:%d sensorType:%d", sensorId, sensorType);
    return false;
  }
  bool const enabled = monitor->enableSensor();
  LSC_LOGI("Enable Sensor Monitor sensorId:%d sensorType:%d ret:%d", sensorId, sensorType, enabled ? 1 : 0);
  return enabled;
}

[[gnu::cold]] void VeyraShadingUtil::StopSensorMonitor(int sensorId, int sensorType) {
  lsc::MutexLock const lock(mMonitorMutex);
  VeyraSensorMonitor* const monitor = FindMonitor(sensorId, sensorType);
  if (monitor == nullptr) {
    LSC_LOGW("Sensor Monitor not registered sensorId:%d sensorType:%d", sensorId, sensorType);
    return;
  }
  monitor->disableSensor();
  RemoveMonitor(monitor);
  LSC_LOGI("Stop sensorId:%d sensorType:%d, mSensorMonitors.size:%lu", sensorId, sensorType, mSensorMonitors.size());
}

void VeyraShadingUtil::UpdateSensorData(int sensorId, unsigned int frameNumber, unsigned long timestamp) {
  lsc::MutexLock const lock(mMonitorMutex);
  if (VeyraSensorMonitor* const monitor = FindMonitor(sensorId)) {
    monitor->updateSensorData(frameNumber, timestamp);
  } else {
    LSC_LOGW("Sensor Monitor not registered sensorId:%d", sensorId);
  }
}

bool VeyraShadingUtil::IsEnabled(int sensorId) noexcept {
  if (!IsSupportSensor(sensorId)) return false;

  lsc::MutexLock const lock(mMonitorMutex);
  if (FindMonitor(sensorId) == nullptr) {
    LSC_LOGW("Sensor Monitor not registered sensorId:%d", sensorId);
    return false;
  }
  LSC_LOGI_DETAIL("sensor:%d enabled", sensorId);
  return true;
}
