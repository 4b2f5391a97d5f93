#include "platform/Properties.h"

#include "platform/desktop/Backstage.h"

namespace NSCam::Utils::Properties {

std::int32_t property_get_int32(char const* key, std::int32_t defaultValue) {
  auto& stage = desktop::Device::Get().backstage();
  stage.NoteCall("property_get_int32 %s %d", key, defaultValue);
  return stage.settings.With([&](desktop::DeviceSettings const& settings) {
    auto const property = settings.properties.find(key);
    return property == settings.properties.end() ? defaultValue : property->second;
  });
}

}  // namespace NSCam::Utils::Properties
