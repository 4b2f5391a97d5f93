// Motion sensors (libcam.utils.sensorprovider.so).
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

namespace NSCam::Utils {

// Which motion sensor; the host chooses the value, the library hands it on.
enum eSensorType : std::int32_t {};

// One event of a motion sensor. Copied whole; the shading library reads the time and the two hall values.
struct SensorData {
  std::int64_t timestamp = 0;     // time of the event, ns, on the clock of the frame timestamps
  float acceleration[3] = {};     // m/s^2
  float angularVelocity[3] = {};  // rad/s
  float oisHallX = 0.0F;          // lens position reported by the stabiliser, in the sensor's own unit
  float oisHallY = 0.0F;
  std::uint32_t reserved[6] = {};
};

// Samples of the sensors of one user, who is known by the name given to createInstance.
class SensorProvider {
 public:
  // A provider for the user `name`; empty when none can be had.
  static std::shared_ptr<SensorProvider> createInstance(char const* name);

  // Asks for samples of `type`; the second argument is passed as 1. False when the platform refuses.
  bool enableSensor(eSensorType type, unsigned int mode);

  // Ends the samples of `type`.
  bool disableSensor(eSensorType type);

  // Fills the empty vector `samples` with what has come since the last call, in any order; it stays empty when there is
  // nothing. A batch may begin before the previous one ended.
  bool getAllSensorData(eSensorType type, std::vector<SensorData>& samples);

 protected:
  SensorProvider() = default;
  ~SensorProvider() = default;
};

}  // namespace NSCam::Utils
