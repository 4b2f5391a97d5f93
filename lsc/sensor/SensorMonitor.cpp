#include <cstdio>

#include "lsc/SampleWindow.h"
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

[[gnu::cold]] bool VeyraShadingUtil::VeyraSensorMonitor::enableSensor() {
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

[[gnu::cold]] void VeyraShadingUtil::VeyraSensorMonitor::disableSensor() {
  if (!mSensorProvider) return;

  mSensorProvider->disableSensor(PlatformType(mSensorType));
  mSensorProvider.reset();
  mSensorData.clear();
  LSC_LOGI_NONZERO(" disable sensor %d", mSensorType);
}

void VeyraShadingUtil::VeyraSensorMonitor::updateSensorData(unsigned int frameNumber, unsigned long frameTime) {
  if (!mSensorProvider) return;

  mBatch.clear();
  mSensorProvider->getAllSensorData(PlatformType(mSensorType), mBatch);
  if (mBatch.empty()) {
    LSC_LOGW("no sensor data for type %d", mSensorType);
    return;
  }
  VeyraSensorData::Filed const filed = mSensorData.file(frameNumber, mBatch);
  LSC_LOGI_DETAIL("update sensor data F:(%u) TS:(%llu) size:%lu, queue size:%lu, timestamp interv:%llu - %llu",
                  frameNumber, static_cast<unsigned long long>(frameTime), filed.count, filed.frameCount,
                  static_cast<unsigned long long>(filed.firstNs), static_cast<unsigned long long>(filed.lastNs));
}

void VeyraShadingUtil::VeyraSensorMonitor::readSensorData(lsc::SampleReader& reader, unsigned int frameNumber,
                                                          unsigned long time) {
  if (!mSensorProvider) return;

  constexpr char kOperation[] = "getSensorData";
  if (time != 0) {
    mSensorData.readByTimestamp(time, reader);
  } else if (frameNumber != 0) {
    mSensorData.readByFrame(frameNumber, reader);
  } else {
    LSC_LOGW_FOR(kOperation, "timestamp or frameNumber should not be zero");
  }
  LSC_LOGI_NONZERO_FOR(kOperation, " get sensor data F:(%u) TS:(%llu) data size:%lu", frameNumber,
                       static_cast<unsigned long long>(time), reader.size());
}

void VeyraShadingUtil::VeyraSensorMonitor::getSensorData(VeyraSensorData::Samples& out, unsigned int frameNumber,
                                                         unsigned long time) {
  lsc::SampleCopy copy(out);
  readSensorData(copy, frameNumber, time);
}
