#include "platform/SensorProvider.h"

#include <string>
#include <utility>

#include "platform/desktop/Backstage.h"

namespace NSCam::Utils {

namespace {

desktop::Device::Backstage& Stage() { return desktop::Device::Get().backstage(); }

// The only kind of provider. Providers of the same name share one queue.
struct NamedProvider final : SensorProvider {
  explicit NamedProvider(char const* user) : name(user), queue(Stage().Queue(name)) {}
  ~NamedProvider() { Stage().NoteCall("~SensorProvider %s", name.c_str()); }

  std::string const name;
  desktop::SampleQueue& queue;
};

NamedProvider& Named(SensorProvider* provider) { return static_cast<NamedProvider&>(*provider); }

}  // namespace

std::shared_ptr<SensorProvider> SensorProvider::createInstance(char const* name) {
  Stage().NoteCall("createInstance %s", name);
  if (Stage().Fails(desktop::Fault::kNoProvider)) return nullptr;
  return std::make_shared<NamedProvider>(name);
}

bool SensorProvider::enableSensor(eSensorType type, unsigned int mode) {
  Stage().NoteCall("enableSensor %s %d %u", Named(this).name.c_str(), type, mode);
  return !Stage().Fails(desktop::Fault::kRefusedEnable);
}

bool SensorProvider::disableSensor(eSensorType type) {
  Stage().NoteCall("disableSensor %s %d", Named(this).name.c_str(), type);
  return !Stage().Fails(desktop::Fault::kRefusedDisable);
}

bool SensorProvider::getAllSensorData(eSensorType type, std::vector<SensorData>& samples) {
  NamedProvider& provider = Named(this);
  Stage().NoteCall("getAllSensorData %s %d", provider.name.c_str(), type);
  if (Stage().Fails(desktop::Fault::kFailedPull)) return false;
  // Enabled or not: a user whose enableSensor was refused keeps pulling and must receive the queued samples.
  provider.queue.With([&](std::vector<SensorData>& queued) {
    if (queued.empty()) return;
    samples.assign(queued.begin(), queued.end());
    queued.clear();
  });
  return true;
}

}  // namespace NSCam::Utils
