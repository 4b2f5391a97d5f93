#include "platform/HalSensor.h"

#include <algorithm>
#include <cstring>
#include <optional>

#include "platform/desktop/Backstage.h"

namespace NSCam {

namespace {

using desktop::DeviceSettings;
using desktop::Fault;
using desktop::ImageSensor;

constexpr std::uint32_t kRollingShutterCommand = 0x400F;

// Filler for the fields that the library does not read, so that a read at a wrong offset shows: neither 0 nor, in any
// width, the 2 that asks for mirrored rows.
constexpr int kFiller = 0xA5;

desktop::Device::Backstage& Stage() { return desktop::Device::Get().backstage(); }

// What `fact` says about the first image sensor that `matches`; nullopt when none does.
template <typename Matches, typename Fact>
auto AskFirst(Matches matches, Fact fact) {
  return Stage().settings.With([&](DeviceSettings const& settings) -> std::optional<decltype(fact(ImageSensor{}))> {
    auto const sensor = std::find_if(settings.sensors.begin(), settings.sensors.end(), matches);
    if (sensor == settings.sensors.end()) return std::nullopt;
    return fact(*sensor);
  });
}

class Sensor final : public IHalSensor {
 public:
  explicit Sensor(int sensorId) : mSensorId(sensorId) { ++Stage().openSensorHandles; }

  int sendCommand(std::uint32_t sensorDevice, std::uint32_t command, std::uintptr_t argument1, std::uintptr_t argument2,
                  std::uintptr_t argument3) override {
    if (command != kRollingShutterCommand || argument1 == 0 || argument3 == 0) {
      Stage().NoteCall("sendCommand %u 0x%x %lu", sensorDevice, command, argument2);
      return -1;
    }
    // NOLINTBEGIN(performance-no-int-to-ptr): the interface passes addresses as integers
    auto* const rollingShutterNs = reinterpret_cast<std::uint32_t*>(argument1);
    auto* const modeInPlace = reinterpret_cast<std::uint32_t*>(argument3);
    std::uint32_t const mode = *modeInPlace;
    // NOLINTEND(performance-no-int-to-ptr)
    Stage().NoteCall("sendCommand %u 0x%x %lu %u", sensorDevice, command, argument2, mode);
    if (Stage().Fails(Fault::kSilentDriver) || argument2 != 0) return -1;
    auto const matches = [&](ImageSensor const& sensor) {
      return sensor.sensorId == mSensorId && sensor.device == sensorDevice && sensor.rollingShutterNs.count(mode) != 0;
    };
    auto const answerNs =
        AskFirst(matches, [&](ImageSensor const& sensor) { return sensor.rollingShutterNs.at(mode); });
    if (!answerNs) return -1;
    *rollingShutterNs = *answerNs;
    *modeInPlace = AskFirst(matches, [&](ImageSensor const& sensor) {
                     auto const answered = sensor.answeredMode.find(mode);
                     return answered == sensor.answeredMode.end() ? mode : answered->second;
                   }).value_or(mode);
    return 0;
  }

  void release(char const* callerName) override {
    Stage().NoteCall("release %s", callerName);
    --Stage().openSensorHandles;
    delete this;
  }

 private:
  ~Sensor() = default;

  int mSensorId;
};

class SensorList final : public IHalSensorList {
 public:
  int sensorIndex(int sensorId) override {
    Stage().NoteCall("sensorIndex %d", sensorId);
    auto const matches = [&](ImageSensor const& sensor) { return sensor.sensorId == sensorId; };
    return AskFirst(matches, [](ImageSensor const& sensor) { return sensor.sensorIndex; }).value_or(-1);
  }

  std::uint32_t sensorDevice(int sensorIndex) override {
    Stage().NoteCall("sensorDevice %d", sensorIndex);
    auto const matches = [&](ImageSensor const& sensor) { return sensor.sensorIndex == sensorIndex; };
    return AskFirst(matches, [](ImageSensor const& sensor) { return sensor.device; }).value_or(0);
  }

  void staticInformation(std::uint32_t sensorDevice, SensorStaticInformation& information) override {
    static SensorStaticInformation const kCleared = {};
    bool const isCleared = std::memcmp(&information, &kCleared, sizeof information) == 0;
    Stage().NoteCall("staticInformation %u%s", sensorDevice, isCleared ? "" : " not cleared");
    auto const matches = [&](ImageSensor const& sensor) { return sensor.device == sensorDevice; };
    auto const order = AskFirst(matches, [](ImageSensor const& sensor) { return sensor.calibrationRowOrder; });
    if (!order) return;
    std::memset(&information, kFiller, sizeof information);
    information.calibrationRowOrder = *order;
  }

  IHalSensor* openSensor(char const* callerName, int sensorId) override {
    Stage().NoteCall("openSensor %s %d", callerName, sensorId);
    if (Stage().Fails(Fault::kNoSensorHandle)) return nullptr;
    auto const matches = [&](ImageSensor const& sensor) { return sensor.sensorId == sensorId; };
    bool const known = AskFirst(matches, [](ImageSensor const&) { return true; }).has_value();
    return known ? new Sensor(sensorId) : nullptr;
  }
};

}  // namespace

IHalSensorList* IHalSensorList::get() {
  Stage().NoteCall("IHalSensorList::get");
  static SensorList list;
  return Stage().Fails(Fault::kNoSensorList) ? nullptr : &list;
}

}  // namespace NSCam
