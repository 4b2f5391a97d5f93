#include "tools/shadingctl/replay/PlayedDevice.h"

#include <fmt/format.h>

#include <algorithm>
#include <set>
#include <utility>

#include "hosting/UnusableInput.h"

namespace shadingctl {
namespace {

constexpr char const* kFeature = "FeatureOisCompensationSupport";
constexpr char const* kKey = "sensorMaps";
constexpr char const* kLogProperty = "vendor.veyra.3a.lscutil.log";
constexpr int kEveryMessage = 5;  // the logging library's most talkative setting

std::vector<Camera> SensorMap(desktop::DeviceSettings const& settings) {
  std::vector<Camera> map;
  auto const feature = settings.configuration.find(kFeature);
  if (feature == settings.configuration.end()) return map;
  auto const key = feature->second.find(kKey);
  if (key == feature->second.end()) return map;
  std::vector<std::int32_t> const& pairs = key->second;
  for (std::size_t i = 0; i + 1 < pairs.size(); i += 2) map.push_back({pairs[i], pairs[i + 1]});
  return map;
}

void AddImageSensor(std::int32_t sensorId, desktop::DeviceSettings& settings) {
  desktop::ImageSensor added;
  added.sensorId = sensorId;
  for (auto const& sensor : settings.sensors) {
    if (sensor.sensorId == sensorId) return;
    added.sensorIndex = std::max(added.sensorIndex, sensor.sensorIndex + 1);
  }
  settings.sensors.push_back(std::move(added));
}

}  // namespace

Camera CameraOf(desktop::DeviceSettings const& settings, std::optional<std::int32_t> wanted) {
  for (Camera const& camera : SensorMap(settings)) {
    if (!wanted || camera.sensorId == *wanted) return camera;
  }
  return {wanted.value_or(0), 0};
}

void ExpectCamera(desktop::DeviceSettings const& settings, std::optional<std::int32_t> wanted,
                  std::string const& session) {
  std::vector<std::int32_t> cameras;
  for (Camera const& camera : SensorMap(settings)) cameras.push_back(camera.sensorId);
  if (!wanted || std::find(cameras.begin(), cameras.end(), *wanted) != cameras.end()) return;
  throw hosting::UnusableInput(
      fmt::format("{}: expected camera {}, found those of the device, {}", session, *wanted, fmt::join(cameras, ", ")));
}

void SetCameras(std::vector<std::int32_t> const& cameras, desktop::DeviceSettings& settings) {
  std::vector<Camera> const map = SensorMap(settings);
  std::set<std::int32_t> usedTypes;
  for (Camera const& camera : map) usedTypes.insert(camera.sensorType);
  std::int32_t freeType = 0;
  std::vector<std::int32_t> pairs;
  for (std::int32_t const sensorId : cameras) {
    auto const listed =
        std::find_if(map.begin(), map.end(), [&](Camera const& camera) { return camera.sensorId == sensorId; });
    while (usedTypes.count(freeType) > 0) ++freeType;
    std::int32_t const sensorType = listed != map.end() ? listed->sensorType : freeType++;
    pairs.insert(pairs.end(), {sensorId, sensorType});
    AddImageSensor(sensorId, settings);
  }
  settings.configuration[kFeature][kKey] = std::move(pairs);
}

desktop::DeviceSettings PlayedSettings(desktop::DeviceSettings device, recording::SessionSettings const& recorded,
                                       int logLevel) {
  if (recorded.cameras) SetCameras(*recorded.cameras, device);
  if (recorded.calculationMode) device.properties[kModeProperty] = *recorded.calculationMode;
  device.properties[kLogProperty] = logLevel;
  device.log.systemLog = true;  // the tool reads the library's messages there
  device.log.maximumLevel = kEveryMessage;
  return device;
}

}  // namespace shadingctl
