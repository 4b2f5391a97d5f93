// The shipped library, loaded as a host loads it, on the stand-in platform.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "bench/Stream.h"

namespace bench {

constexpr int kCameras = 4;

// The sensor type with which a camera is registered.
constexpr int SensorType(int camera) { return camera + 3; }

// Loads the library and creates its object as a phone's host does, without what hosting/ checks before. Requires: it is
// the shading library.
VeyraShadingUtil& LoadUnchecked(std::string const& path);

class Library {
 public:
  // Configures the played device with kCameras cameras, logging to no sink, and loads the library. Throws
  // UnusableInput.
  explicit Library(std::string const& path);

  VeyraShadingUtil& Object() { return *mObject; }
  void SetLevel(int level) { *mLevel = level; }

  // Which sinks take messages; with neither, no message is formatted.
  static void SetSinks(bool systemLog, bool file);

  // With kRollingShutterNs or, in the other sensor mode, kShortRollingShutterNs.
  void Start(int camera, unsigned int sensorMode = 0);
  void Stop(int camera);

  // Not virtual: by its exported name.
  void QuerySensorData(Samples& samples, int camera, std::uint32_t frameNumber, std::uint64_t timestampNs) {
    mQuery(mObject, samples, camera, frameNumber, timestampNs);
  }

 private:
  VeyraShadingUtil* mObject;
  int* mLevel;
  void (*mQuery)(VeyraShadingUtil*, Samples&, int, unsigned int, unsigned long);
};

// Delivers and pulls samples through the platform's functions, as the device and the library do between them.
class Pull {
 public:
  explicit Pull(std::string const& providerName);
  void Deliver(Samples const& batch);
  void Take(Samples& batch);  // batch is empty

 private:
  std::string mName;
  std::shared_ptr<NSCam::Utils::SensorProvider> mProvider;
};

// The name under which the library pulls for the camera.
std::string ProviderName(int camera);

}  // namespace bench
