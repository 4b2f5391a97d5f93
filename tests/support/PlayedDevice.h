// Fixture of the library's tests: the played device, freshly reset, and builders of samples.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <initializer_list>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "lsc/VeyraShadingUtil.h"
#include "platform/desktop/Device.h"

using Samples = std::vector<NSCam::Utils::SensorData>;

// The earliest and the latest time of a sample, in ns.
constexpr std::int64_t kEarliestNs = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t kLatestNs = std::numeric_limits<std::int64_t>::max();

inline NSCam::Utils::SensorData Sample(std::int64_t timestampNs, float hallX = 0.0F, float hallY = 0.0F) {
  NSCam::Utils::SensorData sample;
  sample.timestamp = timestampNs;
  sample.oisHallX = hallX;
  sample.oisHallY = hallY;
  return sample;
}

inline Samples SamplesAt(std::vector<std::int64_t> const& timesNs) {
  Samples samples;
  for (std::int64_t const timeNs : timesNs) samples.push_back(Sample(timeNs));
  return samples;
}

// `count` samples from `firstNs` on, `stepNs` apart; their hall values are their numbers, X positive and Y negative.
inline Samples EvenSamples(int count, std::int64_t firstNs, std::int64_t stepNs) {
  Samples samples;
  for (int i = 0; i < count; ++i) {
    samples.push_back(Sample(firstNs + i * stepNs, static_cast<float>(i), static_cast<float>(-i)));
  }
  return samples;
}

inline std::vector<std::int64_t> TimesOf(Samples const& samples) {
  std::vector<std::int64_t> timesNs;
  for (auto const& sample : samples) timesNs.push_back(sample.timestamp);
  return timesNs;
}

// Restores the library's globals on destruction.
class KeptGlobals {
 public:
  ~KeptGlobals() {
    gLogLevel = mLogLevel;
    g_oisDebug = mOisDebug;
    g_preOisDump = mPreOisDump;
    g_capOisDump = mCapOisDump;
  }

 private:
  int mLogLevel = gLogLevel;
  int mOisDebug = g_oisDebug;
  int mPreOisDump = g_preOisDump;
  int mCapOisDump = g_capOisDump;
};

class PlayedDevice : public ::testing::Test {
 protected:
  PlayedDevice() {
    device.Reset();
    device.RecordLog(true);
  }

  // A library object of its own on the device as it is now, at this log level. Its construction's messages are dropped.
  std::unique_ptr<VeyraShadingUtil> NewLibrary(int logLevel) {
    auto settings = device.Settings();
    settings.properties["vendor.veyra.3a.lscutil.log"] = logLevel;
    device.Configure(settings);
    auto library = std::make_unique<VeyraShadingUtil>();
    device.TakeLog();
    return library;
  }

  void UseFileSinkOnly() {
    auto settings = device.Settings();
    settings.log = {false, true, 5};
    device.Configure(settings);
  }

  // The texts that were logged since the last call, on whichever sink.
  std::vector<std::string> Logged() {
    std::vector<std::string> texts;
    for (auto const& message : device.TakeLog()) texts.push_back(message.text);
    return texts;
  }

  desktop::Device& device = desktop::Device::Get();

 private:
  KeptGlobals mKeptGlobals;
};
