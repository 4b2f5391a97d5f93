// Stands in the place of libcam.utils.sensorprovider.so: forwards every call to the real one and shows each batch to
// the library's tap.
#include <atomic>
#include <vector>

#include "capture/BatchListener.h"
#include "capture/RealLibrary.h"

// A standard library's vector and shared pointer are part of the names.
#ifdef _LIBCPP_VERSION
#define SAMPLES "NSt3__16vectorINS0_10SensorDataENS3_9allocatorIS5_EEEE"
#else
#define SAMPLES "St6vectorINS0_10SensorDataESaIS4_EE"
#endif

namespace {

std::atomic<BatchListener> gListener{nullptr};

template <typename Function>
Function Real(char const* symbol) {
  return capture::RealSymbol<Function>("libcam.utils.sensorprovider.so.real", symbol);
}

}  // namespace

void SetBatchListener(BatchListener listener) noexcept { gListener = listener; }

namespace NSCam::Utils {

// Member functions are called like functions whose first parameter is the object.

std::shared_ptr<SensorProvider> SensorProvider::createInstance(char const* name) {
  static auto* const real =
      Real<std::shared_ptr<SensorProvider> (*)(char const*)>("_ZN5NSCam5Utils14SensorProvider14createInstanceEPKc");
  return real(name);
}

bool SensorProvider::enableSensor(eSensorType type, unsigned int mode) {
  static auto* const real = Real<bool (*)(SensorProvider*, eSensorType, unsigned int)>(
      "_ZN5NSCam5Utils14SensorProvider12enableSensorENS0_11eSensorTypeEj");
  return real(this, type, mode);
}

bool SensorProvider::disableSensor(eSensorType type) {
  static auto* const real =
      Real<bool (*)(SensorProvider*, eSensorType)>("_ZN5NSCam5Utils14SensorProvider13disableSensorENS0_11eSensorTypeE");
  return real(this, type);
}

bool SensorProvider::getAllSensorData(eSensorType type, std::vector<SensorData>& samples) {
  static auto* const real = Real<bool (*)(SensorProvider*, eSensorType, std::vector<SensorData>&)>(
      "_ZN5NSCam5Utils14SensorProvider16getAllSensorDataENS0_11eSensorTypeER" SAMPLES);
  bool const answer = real(this, type, samples);
  if (BatchListener const listener = gListener) listener(samples.data(), samples.size());
  return answer;
}

}  // namespace NSCam::Utils
