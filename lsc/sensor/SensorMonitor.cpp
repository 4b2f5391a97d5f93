// A monitor and the platform: provider, enabling, pulling. Queries: SampleQuery.cpp.

#include <cstdio>

#include "lsc/VeyraShadingUtil.h"
#include "lsc/log/Log.h"

namespace {

constexpr unsigned int kMaxFrames = 30;  // half a second at 60 frames a second
constexpr unsigned int kEnableMode = 1;  // the platform's second argument; nothing else is ever passed

NSCam::Utils::eSensorType PlatformType(std::int32_t sensorType) {
  return static_cast<NSCam::Utils::eSensorType>(sensorType);
}

}  // namespace

VeyraShadingUtil::VeyraSensorMonitor::VeyraSensorMonitor(int sensorId, int sensorType)
    : mSensorId(sensorId), mSensorType(sensorType), mSensorData(kMaxFrames) {}

VeyraShadingUtil::VeyraSensorMonitor::~VeyraSensorMonitor() { disableSensor(); }

[[gnu::cold]] bool VeyraShadingUtil::VeyraSensorMonitor::enableSensor() noexcept {
  if (!mSensorProvider) {
    char name[sizeof("OIS_MONITOR--2147483648--2147483648")];
    std::snprintf(name, sizeof name, "OIS_MONITOR-%d-%d", mSensorId, mSensorType);
    mSensorProvider = NSCam::Utils::SensorProvider::createInstance(name);
    if (!mSensorProvider) return true;
  }
  if (mEnabled) return true;

  bool const accepted = mSensorProvider->enableSensor(PlatformType(mSensorType), kEnableMode);
  mSensorData.clear();
  mEnabled = true;
  LSC_LOGI_NONZERO(" enable sensor %d ret:%d", mSensorType, accepted ? 1 : 0);
  return accepted;
}

[[gnu::cold]] void VeyraShadingUtil::VeyraSensorMonitor::disableSensor() noexcept {
  if (!mSensorProvider) return;

  mSensorProvider->disableSensor(PlatformType(mSensorType));
  mSensorProvider.reset();
  mSensorData.clear();
  LSC_LOGI_NONZERO(" disable sensor %d", mSensorType);
}

void VeyraShadingUtil::VeyraSensorMonitor::updateSensorData(unsigned int frameNumber,
                                                            unsigned long frameTime) noexcept {
  if (!mSensorProvider) return;

  mBatch.clear();
  mSensorProvider->getAllSensorData(PlatformType(mSensorType), mBatch);
  if (mBatch.empty()) {
    LSC_LOGW("no sensor data for type %d", mSensorType);
    return;
  }
  VeyraSensorData::Insertion const inserted = mSensorData.insert(frameNumber, mBatch);
  LSC_LOGI_DETAIL("update sensor data F:(%u) TS:(%llu) size:%lu, queue size:%lu, timestamp interv:%llu - %llu",
                  frameNumber, static_cast<unsigned long long>(frameTime), inserted.count, inserted.frameCount,
                  static_cast<unsigned long long>(inserted.firstNs), static_cast<unsigned long long>(inserted.lastNs));
}
