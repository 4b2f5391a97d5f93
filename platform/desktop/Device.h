// The played device: the state behind the stand-in platform libraries.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/SensorProvider.h"

namespace desktop {

// An image sensor as the sensor list knows it.
struct ImageSensor {
  std::int32_t sensorId = 0;
  std::int32_t sensorIndex = 0;
  std::uint32_t device = 0;                                      // sensor-device identifier
  std::map<std::uint32_t, std::uint32_t> rollingShutterNs = {};  // sensor mode -> rolling-shutter time, ns
  std::map<std::uint32_t, std::uint32_t> answeredMode = {};  // sensor mode -> mode that the driver puts in its place
  std::int32_t calibrationRowOrder = 0;                      // field of the static information; 2: rows mirrored
};

// The logging libraries' settings.
struct LogSinks {
  bool systemLog = true;  // isDefaultModeEnabled
  bool file = false;      // isFileModeEnabled
  int maximumLevel = 5;   // messages of a VLogLevel up to this one are wanted
};

// What the device answers to platform calls. docs/device-file.md describes the file that holds it.
struct DeviceSettings {
  std::map<std::string, std::int32_t> properties;
  std::map<std::string, std::map<std::string, std::vector<std::int32_t>>> configuration;  // feature -> key -> values
  std::vector<ImageSensor> sensors;
  LogSinks log;
};

// The default device: two cameras with OIS (sensor 0 with type 3, sensor 2 with
// type 5), the others without, and calibration for all seven (BuiltInCalibration.h).
DeviceSettings BuiltInDevice();

enum class Sink { kSystemLog, kFile };

// One message as a sink received it.
struct LogMessage {
  Sink sink = Sink::kSystemLog;
  int level = 0;            // system log: its priority (3 to 6); file sink: the VLogLevel (1 to 5)
  unsigned int module = 0;  // file sink only
  std::string tag;
  std::string text;  // file sink: exactly the `length` bytes handed over
};

// Platform calls that fail on demand.
enum class Fault {
  kNoProvider,      // SensorProvider::createInstance answers an empty pointer
  kRefusedEnable,   // SensorProvider::enableSensor answers false
  kNoSensorList,    // IHalSensorList::get answers null
  kNoSensorHandle,  // IHalSensorList::openSensor answers null
  kSilentDriver,    // IHalSensor::sendCommand leaves the value as it was
  kFailedListRead,  // GetIntegerListConfiguration answers -1
  kNoFeature,       // GetKeyCount answers 0
  kNoValues,        // GetValuesCount answers 0
  kFailedRead,      // GetIntegerConfiguration answers -1
  kFailedPull,      // SensorProvider::getAllSensorData answers false and hands out nothing
  kRefusedDisable,  // SensorProvider::disableSensor answers false
};
constexpr std::size_t kFaultCount = 11;

// The one device of the process. It plays the built-in device until Configure is called, or the device in the directory
// that the environment variable VCAM_DEVICE names (read at the first use; a device that cannot be read ends the process
// with a message and exit code 3, as it would otherwise play something that nobody asked for). It outlives every other
// object of the process, so that what is destroyed last can still log.
//
// Every operation may be called from any thread.
class Device {
 public:
  static Device& Get();

  // Replaces the settings. Queued samples, records and faults stay.
  void Configure(DeviceSettings settings);
  DeviceSettings Settings() const;

  // Back to the built-in device, nothing queued, nothing recorded, recording and listening off, no fault. Image sensors
  // that are open stay open.
  void Reset();

  // The time that the driver reports for this mode from now on, in ns. Does nothing for a sensorId that the device does
  // not have.
  void SetRollingShutter(std::int32_t sensorId, std::uint32_t mode, std::uint32_t rollingShutterNs);

  // Adds samples, in the order of delivery, to what the provider of this name hands out at its next pull.
  void QueueSamples(std::string const& providerName, std::vector<NSCam::Utils::SensorData> const& samples);

  void SetFault(Fault fault, bool on);

  // GetValuesCount answers `count` for every key, whatever is stored; nullopt ends that.
  void ClaimValuesCount(std::optional<unsigned int> count);

  // Records messages; TakeLog returns them, oldest first, and clears the record. Off at first.
  void RecordLog(bool on);
  std::vector<LogMessage> TakeLog();

  // Calls `listener` for every message, on the thread that logs, one at a time; it must not throw, and must not call
  // the Device. An empty function ends it; no call is under way once that has returned.
  void ListenToLog(std::function<void(LogMessage const&)> listener);

  // Keeps a line for every platform call (docs/device-file.md lists their texts), with the questions to the logging
  // library only when `loggingToo` is set. Off at first.
  void RecordCalls(bool on, bool loggingToo = false);
  std::vector<std::string> TakeCalls();

  // Calls `watcher` at the beginning of every platform call that RecordCalls would keep, with its line, on the thread
  // that makes it and without a lock of the device: it may call the Device, and several threads may be in it at once.
  // Null ends it. Log calls are among them only while recorded.
  void WatchCalls(void (*watcher)(char const* call));

  // How many image sensors were opened and not released yet.
  int OpenSensorHandles() const;

  // For the platform libraries, not for hosts.
  struct Backstage;
  Backstage& backstage() { return *mBackstage; }

 private:
  Device();
  ~Device();

  std::unique_ptr<Backstage> mBackstage;
};

}  // namespace desktop
