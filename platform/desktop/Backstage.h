// What the platform libraries ask of the Device and report to it. Only the sources of this directory include it.
#pragma once

#include <atomic>
#include <cstdarg>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/desktop/Device.h"

namespace desktop {

// A value and the mutex that guards it; `use` must not keep a pointer to the value. These mutexes are not nested,
// except a SampleQueue's inside that of the map of all queues.
template <typename Value>
class Locked {
 public:
  template <typename Use>
  auto With(Use&& use) {
    std::lock_guard<std::mutex> const lock(mMutex);
    return std::forward<Use>(use)(mValue);
  }

 private:
  std::mutex mMutex;
  Value mValue;
};

// Samples delivered to one provider and not pulled yet. A pull copies and clears the vector, which keeps its capacity.
using SampleQueue = Locked<std::vector<NSCam::Utils::SensorData>>;

// The state of the device. The library asks about the log before every message and pulls once per frame, so the
// switches that decide whether there is anything to do are atomic, without any order among them, and take no lock.
struct Device::Backstage {
  Locked<DeviceSettings> settings;
  std::atomic<bool> systemLog{true};  // copies of settings.log
  std::atomic<bool> file{false};
  std::atomic<int> maximumLevel{5};

  // Replaces the settings and the switches copied from them.
  void Play(DeviceSettings newSettings);

  std::atomic<unsigned int> faults{0};  // one bit per Fault
  bool Fails(Fault fault) const {
    return (faults.load(std::memory_order_relaxed) >> static_cast<int>(fault) & 1U) != 0;
  }

  Locked<std::optional<unsigned int>> claimedValuesCount;
  std::atomic<int> openSensorHandles{0};

  // The queue of the provider of this name, created at first use. The reference stays valid.
  SampleQueue& Queue(std::string const& providerName);
  Locked<std::map<std::string, SampleQueue>> queues;

  // The log: kept, listened to, or both.
  struct Log {
    bool recorded = false;
    std::vector<LogMessage> messages;
    std::function<void(LogMessage const&)> listener;
  };
  Locked<Log> log;
  std::atomic<bool> logIsHeard{false};  // recorded or listened to; otherwise messages are not formatted

  void Deliver(LogMessage message);

  // The calls. NoteCall hands its line, given like printf's, to the watcher and keeps it while recordsCalls; what
  // concerns the log notes its line only while recordsLogCalls.
  Locked<std::vector<std::string>> calls;
  std::atomic<bool> recordsCalls{false};
  std::atomic<bool> recordsLogCalls{false};
  std::atomic<void (*)(char const*)> callWatcher{nullptr};

  void NoteCall(char const* format, ...) __attribute__((format(printf, 2, 3)));
};

// The formatted text, however long; nullopt when vsnprintf refuses to format it.
std::optional<std::string> FormatText(char const* format, std::va_list arguments) __attribute__((format(printf, 1, 0)));

}  // namespace desktop
