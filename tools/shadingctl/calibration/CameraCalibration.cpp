#include "tools/shadingctl/calibration/CameraCalibration.h"

#include <fmt/format.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <set>
#include <system_error>

#include "platform/desktop/BuiltInCalibration.h"
#include "platform/desktop/CalibrationMount.h"

namespace shadingctl {
namespace {

namespace fs = std::filesystem;

CalibrationPlaces PlacesOf(desktop::DeviceSettings const& settings, int sensorIndex) {
  CalibrationPlaces places;
  auto const feature = settings.configuration.find("FeatureShading");
  if (feature == settings.configuration.end() || feature->second.empty()) return places;
  places.hasFeature = true;
  auto const& keys = feature->second;
  auto const record = keys.find(fmt::format("multiGolden[{}]", sensorIndex));
  if (record != keys.end() && !record->second.empty()) places.recordOffset = record->second[0];
  auto const block = keys.find(fmt::format("PNCCaliData[{}]", sensorIndex));
  if (block != keys.end() && block->second.size() >= 2) places.block = {block->second[0], block->second[1]};
  return places;
}

// As many of `size` bytes as the file supplies there.
std::size_t ReadAt(std::FILE* file, std::int32_t offset, unsigned char* bytes, std::size_t size) {
  if (offset < 0 || std::fseek(file, offset, SEEK_SET) != 0) return 0;
  return std::fread(bytes, 1, size, file);
}

DumpFile LookAtFile(int sensorIndex, CalibrationPlaces const& places) {
  DumpFile look;
  look.name = desktop::CalibrationFileName(sensorIndex);
  if (look.name.empty()) {
    look.problem = "a phone has no dump file for this sensor index";
    return look;
  }
  fs::path const path = fs::path(desktop::kCalibrationDirectory) / look.name;
  std::error_code failure;
  auto const kind = fs::status(path, failure).type();
  if (kind != fs::file_type::regular && kind != fs::file_type::not_found && kind != fs::file_type::none) {
    look.problem = "is no regular file, every byte reads as 0";
    return look;
  }
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> const file(std::fopen(path.c_str(), "rb"), &std::fclose);
  if (file == nullptr) {
    look.problem = "cannot be opened: " + std::generic_category().message(errno);
    return look;
  }
  look.size = static_cast<std::int64_t>(fs::file_size(path, failure));
  if (places.recordOffset) {
    look.recordBytes = ReadAt(file.get(), *places.recordOffset, look.record.data(), look.record.size());
  }
  if (places.block && places.block->length > 1 && places.block->length <= kBlockLimit) {
    look.block.resize(static_cast<std::size_t>(places.block->length - 1));
    look.block.resize(ReadAt(file.get(), places.block->offset, look.block.data(), look.block.size()));
  }
  return look;
}

// An error's message begins with its source line, which says nothing about the camera: "( 108) [Operation] text".
std::string WithoutLine(std::string const& message) {
  std::size_t const end = message.empty() || message.front() != '(' ? std::string::npos : message.find(") ");
  std::string text = end == std::string::npos ? message : message.substr(end + 2);
  text.erase(text.find_last_not_of(" \n") + 1);
  return text;
}

void ReadMessages(CameraCalibration& camera) {
  for (std::string const& message : camera.messages) {
    char const* const text = message.c_str();
    CameraCalibration::Record record;
    unsigned int valid = 0;
    if (std::sscanf(text, "[VeyraGetMultiTableIndex] multi_tbl_idx:%d otpValid:%d gradient:%d flag:%d flag_f:%d",
                    &record.table, &record.valid, &record.gradient, &record.flag, &record.furtherFlag) == 5) {
      camera.record = record;
    } else if (std::sscanf(text, "[VeyraGetPNCCaliData] otpValid 0x%x", &valid) == 1) {
      camera.blockValid = valid;
    } else if (message.rfind("[VeyraSwapPNCCaliData] dataLen:", 0) == 0) {
      camera.mirrored = true;
    }
  }
}

}  // namespace

std::vector<int> CamerasOf(desktop::DeviceSettings const& settings) {
  std::set<int> cameras;
  for (desktop::ImageSensor const& sensor : settings.sensors) cameras.insert(sensor.sensorIndex);
  for (int i = 0; i < kSensorSlotCount; ++i) {
    CalibrationPlaces const places = PlacesOf(settings, i);
    if (places.recordOffset || places.block) cameras.insert(i);
  }
  return {cameras.lower_bound(0), cameras.lower_bound(kSensorSlotCount)};
}

CameraCalibration AskCalibration(VeyraShadingUtil& library, desktop::Device& device, int sensorIndex) {
  CameraCalibration camera;
  camera.sensorIndex = sensorIndex;
  camera.places = PlacesOf(device.Settings(), sensorIndex);
  camera.file = LookAtFile(sensorIndex, camera.places);

  std::vector<std::string> heard;
  device.ListenToLog([&](desktop::LogMessage const& message) { heard.push_back(WithoutLine(message.text)); });
  int const mask = 1 << sensorIndex;
  library.VeyraGetMultiTableIndex(camera.table, mask);
  camera.messages.swap(heard);

  // A settled answer is cached; any other one begins with a call to the configuration.
  device.RecordCalls(true);
  int again = 0;
  library.VeyraGetMultiTableIndex(again, mask);
  camera.settled = device.TakeCalls().empty() && heard.empty();
  device.RecordCalls(false);

  heard.clear();
  std::int64_t const length = camera.places.block ? camera.places.block->length : 0;
  if (length <= kBlockLimit) {
    camera.blockAsked = true;
    std::vector<unsigned char> buffer(static_cast<std::size_t>(length > 1 ? length : 1));
    library.VeyraGetPNCCaliData(buffer.data(), mask);
    if (!heard.empty() && heard.back().rfind("[VeyraGetPNCCaliData] [0]:", 0) == 0) {
      buffer.resize(static_cast<std::size_t>(length - 1));
      camera.block = std::move(buffer);
    }
    camera.messages.insert(camera.messages.end(), heard.begin(), heard.end());
  }
  device.ListenToLog({});
  ReadMessages(camera);
  return camera;
}

}  // namespace shadingctl
