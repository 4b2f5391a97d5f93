// Image sensors and their drivers (libcam.halsensor.so).
#pragma once

#include <cstdint>

namespace NSCam {

// Fixed facts about an image sensor, as its driver fills them in. The library reads one field and zero-fills the rest
// before it asks.
struct SensorStaticInformation {
  unsigned char otherFacts[17504];
  std::int32_t calibrationRowOrder;  // 2: the rows of the calibration block are stored mirrored
  std::int32_t furtherFact;
};
static_assert(sizeof(SensorStaticInformation) == 17512, "the driver fills the whole record");

// An open image sensor.
class IHalSensor {
 public:
  // Asks the driver. For command 0x400F (rolling shutter) `argument1` is the address of an unsigned 32-bit value that
  // receives the time in ns, `argument2` is 0 and `argument3` is the address of the unsigned 32-bit sensor mode, which
  // the driver may replace. A driver that does not know the mode leaves the time as it was.
  virtual int sendCommand(std::uint32_t sensorDevice, std::uint32_t command, std::uintptr_t argument1,
                          std::uintptr_t argument2, std::uintptr_t argument3) = 0;

  // Gives the handle back; it must not be used afterwards.
  virtual void release(char const* callerName) = 0;

 protected:
  ~IHalSensor() = default;
};

// The image sensors of the phone.
class IHalSensorList {
 public:
  // The process's list; null when there is none (yet). Not to be deleted.
  static IHalSensorList* get();

  // The sensor index of the camera `sensorId`.
  virtual int sensorIndex(int sensorId) = 0;

  // The sensor-device identifier of a sensor index, by which drivers and static information are asked.
  virtual std::uint32_t sensorDevice(int sensorIndex) = 0;

  // Fills `information` for the sensor-device identifier; untouched when the identifier is unknown.
  virtual void staticInformation(std::uint32_t sensorDevice, SensorStaticInformation& information) = 0;

  // A handle on the camera `sensorId` for the caller of that name; null when none can be had.
  virtual IHalSensor* openSensor(char const* callerName, int sensorId) = 0;

 protected:
  ~IHalSensorList() = default;
};

}  // namespace NSCam
