// The way of a query: sensorId -> monitor -> history -> range. Everything happens with mMonitorMutex held.

#include "lsc/VeyraShadingUtil.h"
#include "lsc/log/Log.h"

void VeyraShadingUtil::QuerySensorData(std::vector<NSCam::Utils::SensorData>& samples, int sensorId,
                                       unsigned int frameNumber, unsigned long timestamp) noexcept {
  lsc::MutexLock const lock(mMonitorMutex);
  FindSamples(sensorId, frameNumber, timestamp, samples.size()).copyTo(samples);
}

lsc::SampleRange VeyraShadingUtil::FindSamples(int sensorId, unsigned int frameNumber, unsigned long timestamp,
                                               std::size_t outputSize) noexcept {
  constexpr char kOperation[] = "QuerySensorData";
  VeyraSensorMonitor* const monitor = FindMonitor(sensorId);
  if (monitor == nullptr) {
    LSC_LOGW_FOR(kOperation, "Sensor Monitor not registered sensorId:%d", sensorId);
    return {};
  }
  lsc::SampleRange const found = monitor->findSensorData(frameNumber, timestamp, outputSize);
  LSC_LOGI_NONZERO_FOR(kOperation, " get sensor data size:%zu", found.empty() ? outputSize : found.size());
  return found;
}

lsc::SampleRange VeyraShadingUtil::VeyraSensorMonitor::findSensorData(unsigned int frameNumber, unsigned long time,
                                                                      std::size_t outputSize) noexcept {
  constexpr char kOperation[] = "getSensorData";
  lsc::SampleRange found;
  if (!mSensorProvider) return found;

  if (time != 0) {
    found = mSensorData.findByTimestamp(time);
  } else if (frameNumber != 0) {
    found = mSensorData.findByFrame(frameNumber);
  } else {
    LSC_LOGW_FOR(kOperation, "timestamp or frameNumber should not be zero");
  }
  LSC_LOGI_NONZERO_FOR(kOperation, " get sensor data F:(%u) TS:(%llu) data size:%lu", frameNumber,
                       static_cast<unsigned long long>(time), found.empty() ? outputSize : found.size());
  return found;
}

void VeyraShadingUtil::VeyraSensorMonitor::getSensorData(VeyraSensorData::Samples& out, unsigned int frameNumber,
                                                         unsigned long time) noexcept {
  findSensorData(frameNumber, time, out.size()).copyTo(out);
}
