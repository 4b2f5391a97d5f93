#include "bench/Library.h"

#include <dlfcn.h>

#include "hosting/HostLibrary.h"
#include "hosting/UnusableInput.h"
#include "platform/desktop/Device.h"

namespace bench {

namespace {

char const* const kQuerySymbol =
    "_ZN16VeyraShadingUtil15QuerySensorDataERSt6vectorIN5NSCam5Utils10SensorDataESaIS3_EEijm";

void* Symbol(std::string const& path, char const* name) {
  void* const library = dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD);
  void* const symbol = library == nullptr ? nullptr : dlsym(library, name);
  if (symbol == nullptr) throw hosting::UnusableInput(path + ": does not export " + name);
  return symbol;
}

void Configure(bool systemLog, bool file) {
  desktop::DeviceSettings settings = desktop::BuiltInDevice();
  auto& map = settings.configuration["FeatureOisCompensationSupport"]["sensorMaps"];
  map.clear();
  for (int camera = 0; camera < kCameras; ++camera) {
    map.insert(map.end(), {camera, SensorType(camera)});
    settings.sensors[static_cast<std::size_t>(camera)].rollingShutterNs = {{0, kRollingShutterNs},
                                                                           {1, kShortRollingShutterNs}};
  }
  settings.log = {systemLog, file, systemLog || file ? 5 : 0};
  desktop::Device::Get().Configure(settings);
}

}  // namespace

VeyraShadingUtil& LoadUnchecked(std::string const& path) {
  void* const library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  return *reinterpret_cast<VeyraShadingUtil* (*)()>(dlsym(library, "createInstance"))();
}

Library::Library(std::string const& path) {
  Configure(false, false);
  mObject = &hosting::LoadShadingLibrary(path);
  mLevel = static_cast<int*>(Symbol(path, "gLogLevel"));
  mQuery = reinterpret_cast<decltype(mQuery)>(Symbol(path, kQuerySymbol));
  SetLevel(0);
}

void Library::SetSinks(bool systemLog, bool file) { Configure(systemLog, file); }

void Library::Start(int camera, unsigned int sensorMode) {
  if (!mObject->RegisterAndStartSensorMonitor(camera, SensorType(camera))) {
    throw hosting::UnusableInput("camera " + std::to_string(camera) + " does not start");
  }
  mObject->StoreRollingShutter(camera, sensorMode);
}

void Library::Stop(int camera) { mObject->StopSensorMonitor(camera, SensorType(camera)); }

Pull::Pull(std::string const& providerName)
    : mName(providerName), mProvider(NSCam::Utils::SensorProvider::createInstance(providerName.c_str())) {}

void Pull::Deliver(Samples const& batch) { desktop::Device::Get().QueueSamples(mName, batch); }

void Pull::Take(Samples& batch) { mProvider->getAllSensorData(NSCam::Utils::eSensorType{}, batch); }

std::string ProviderName(int camera) {
  return "OIS_MONITOR-" + std::to_string(camera) + "-" + std::to_string(SensorType(camera));
}

}  // namespace bench
