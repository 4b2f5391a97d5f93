#include "platform/HwConfiguration.h"

#include <algorithm>
#include <cstddef>
#include <vector>

#include "platform/desktop/Backstage.h"

using desktop::DeviceSettings;

namespace {

desktop::Device::Backstage& Stage() { return desktop::Device::Get().backstage(); }

// The values under the key; null when there is no such key.
std::vector<std::int32_t> const* FindValues(DeviceSettings const& settings, char const* feature, char const* key) {
  auto const keys = settings.configuration.find(feature);
  if (keys == settings.configuration.end()) return nullptr;
  auto const values = keys->second.find(key);
  return values == keys->second.end() ? nullptr : &values->second;
}

// Writes all of `count` values or none.
int ReadValues(char const* feature, char const* key, int* out, std::size_t count) {
  return Stage().settings.With([&](DeviceSettings const& settings) {
    std::vector<std::int32_t> const* const values = FindValues(settings, feature, key);
    if (values == nullptr || values->size() < count) return -1;
    std::copy_n(values->begin(), count, out);
    return 0;
  });
}

}  // namespace

unsigned int GetKeyCount(char const* feature) {
  Stage().NoteCall("GetKeyCount %s", feature);
  if (Stage().Fails(desktop::Fault::kNoFeature)) return 0;
  return Stage().settings.With([&](DeviceSettings const& settings) {
    auto const keys = settings.configuration.find(feature);
    return keys == settings.configuration.end() ? 0U : static_cast<unsigned int>(keys->second.size());
  });
}

unsigned int GetValuesCount(char const* feature, char const* key) {
  Stage().NoteCall("GetValuesCount %s %s", feature, key);
  if (Stage().Fails(desktop::Fault::kNoValues)) return 0;
  auto const claimed = Stage().claimedValuesCount.With([](std::optional<unsigned int> count) { return count; });
  if (claimed) return *claimed;
  return Stage().settings.With([&](DeviceSettings const& settings) {
    std::vector<std::int32_t> const* const values = FindValues(settings, feature, key);
    return values == nullptr ? 0U : static_cast<unsigned int>(values->size());
  });
}

int GetIntegerConfiguration(char const* feature, char const* key, int* value) {
  Stage().NoteCall("GetIntegerConfiguration %s %s", feature, key);
  if (Stage().Fails(desktop::Fault::kFailedRead)) return -1;
  return ReadValues(feature, key, value, 1);
}

int GetIntegerListConfiguration(char const* feature, char const* key, int* values, unsigned int count) {
  Stage().NoteCall("GetIntegerListConfiguration %s %s %u", feature, key, count);
  if (Stage().Fails(desktop::Fault::kFailedListRead)) return -1;
  return ReadValues(feature, key, values, count);
}
