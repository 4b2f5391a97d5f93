#include "platform/desktop/Device.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "platform/desktop/Backstage.h"
#include "platform/desktop/BuiltInCalibration.h"
#include "platform/desktop/DeviceFile.h"

namespace desktop {

namespace {

constexpr int kBuiltInCameras = 7;  // as many as a phone has calibration files for

DeviceSettings FirstDevice() {
  char const* const directory = std::getenv("VCAM_DEVICE");
  if (directory == nullptr || *directory == '\0') return BuiltInDevice();
  try {
    return LoadDevice(directory);
  } catch (UnusableFile const& unusable) {
    std::fprintf(stderr, "VCAM_DEVICE: %s\n", unusable.what());
    // Not std::exit: destructors that call the platform would wait for the Device, which will never be there.
    std::fflush(nullptr);
    std::_Exit(3);
  }
}

}  // namespace

DeviceSettings BuiltInDevice() {
  DeviceSettings settings;
  settings.configuration["FeatureOisCompensationSupport"]["sensorMaps"] = {0, 3, 2, 5};
  for (int i = 0; i < kBuiltInCameras; ++i) {
    ImageSensor sensor;
    sensor.sensorId = i;
    sensor.sensorIndex = i;
    sensor.device = 1U << i;
    sensor.rollingShutterNs = {{0, 16'000'000}};
    settings.sensors.push_back(std::move(sensor));
  }
  settings.sensors[0].rollingShutterNs = {{0, 15'980'096}, {1, 33'000'000}};
  settings.sensors[2].rollingShutterNs = {{0, 20'000'000}};
  AddBuiltInCalibration(settings);
  return settings;
}

std::optional<std::string> FormatText(char const* format, std::va_list arguments) {
  std::array<char, 512> shortText;
  std::va_list copy;
  va_copy(copy, arguments);
  // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): the check overlooks va_start in all but its first file
  int const length = std::vsnprintf(shortText.data(), shortText.size(), format, copy);
  va_end(copy);
  if (length < 0) return std::nullopt;
  auto const size = static_cast<std::size_t>(length);
  if (size < shortText.size()) return std::string(shortText.data(), size);
  std::string text(size, '\0');
  std::vsnprintf(text.data(), size + 1, format, arguments);
  return text;
}

void Device::Backstage::Play(DeviceSettings newSettings) {
  settings.With([&](DeviceSettings& current) {
    systemLog = newSettings.log.systemLog;
    file = newSettings.log.file;
    maximumLevel = newSettings.log.maximumLevel;
    std::swap(current, newSettings);
  });
}

SampleQueue& Device::Backstage::Queue(std::string const& providerName) {
  return *queues.With([&](std::map<std::string, SampleQueue>& byName) { return &byName[providerName]; });
}

void Device::Backstage::Deliver(LogMessage message) {
  log.With([&](Log& sinks) {
    if (sinks.listener) sinks.listener(message);
    if (sinks.recorded) sinks.messages.push_back(std::move(message));
  });
}

void Device::Backstage::NoteCall(char const* format, ...) {
  auto* const watch = callWatcher.load(std::memory_order_acquire);
  bool const keeps = recordsCalls.load(std::memory_order_relaxed);
  if (watch == nullptr && !keeps) return;
  std::va_list arguments;
  va_start(arguments, format);
  std::string line = FormatText(format, arguments).value_or(format);
  va_end(arguments);
  if (watch != nullptr) watch(line.c_str());
  if (keeps) calls.With([&](std::vector<std::string>& lines) { lines.push_back(std::move(line)); });
}

Device::Device() : mBackstage(std::make_unique<Backstage>()) { mBackstage->Play(FirstDevice()); }

Device::~Device() = default;

Device& Device::Get() {
  static Device& device = *new Device;  // never destroyed
  return device;
}

void Device::Configure(DeviceSettings settings) { mBackstage->Play(std::move(settings)); }

DeviceSettings Device::Settings() const {
  return mBackstage->settings.With([](DeviceSettings const& settings) { return settings; });
}

void Device::Reset() {
  RecordCalls(false);
  WatchCalls(nullptr);
  ListenToLog({});
  RecordLog(false);
  TakeLog();
  TakeCalls();
  Configure(BuiltInDevice());
  ClaimValuesCount(std::nullopt);
  mBackstage->faults = 0;
  mBackstage->queues.With([](std::map<std::string, SampleQueue>& byName) {
    for (auto& [name, queue] : byName) queue.With([](auto& samples) { samples.clear(); });
  });
}

void Device::SetRollingShutter(std::int32_t sensorId, std::uint32_t mode, std::uint32_t rollingShutterNs) {
  mBackstage->settings.With([&](DeviceSettings& settings) {
    for (ImageSensor& sensor : settings.sensors) {
      if (sensor.sensorId == sensorId) sensor.rollingShutterNs[mode] = rollingShutterNs;
    }
  });
}

void Device::QueueSamples(std::string const& providerName, std::vector<NSCam::Utils::SensorData> const& samples) {
  mBackstage->Queue(providerName).With([&](std::vector<NSCam::Utils::SensorData>& queued) {
    queued.insert(queued.end(), samples.begin(), samples.end());
  });
}

void Device::SetFault(Fault fault, bool on) {
  unsigned int const bit = 1U << static_cast<int>(fault);
  if (on) {
    mBackstage->faults |= bit;
  } else {
    mBackstage->faults &= ~bit;
  }
}

void Device::ClaimValuesCount(std::optional<unsigned int> count) {
  mBackstage->claimedValuesCount.With([&](std::optional<unsigned int>& claimed) { claimed = count; });
}

void Device::RecordLog(bool on) {
  mBackstage->log.With([&](Backstage::Log& log) {
    log.recorded = on;
    mBackstage->logIsHeard = log.recorded || log.listener;
  });
}

std::vector<LogMessage> Device::TakeLog() {
  return mBackstage->log.With([](Backstage::Log& log) { return std::exchange(log.messages, {}); });
}

void Device::ListenToLog(std::function<void(LogMessage const&)> listener) {
  mBackstage->log.With([&](Backstage::Log& log) {
    log.listener.swap(listener);  // what the former one holds is destroyed outside the lock
    mBackstage->logIsHeard = log.recorded || log.listener;
  });
}

void Device::RecordCalls(bool on, bool loggingToo) {
  mBackstage->recordsCalls = on;
  mBackstage->recordsLogCalls = on && loggingToo;
}

void Device::WatchCalls(void (*watcher)(char const* call)) {
  mBackstage->callWatcher.store(watcher, std::memory_order_release);
}

std::vector<std::string> Device::TakeCalls() {
  return mBackstage->calls.With([](std::vector<std::string>& lines) { return std::exchange(lines, {}); });
}

int Device::OpenSensorHandles() const { return mBackstage->openSensorHandles; }

}  // namespace desktop
