#include "platform/desktop/BuiltInCalibration.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>
#include <vector>

namespace desktop {

namespace {

using Bytes = std::vector<unsigned char>;

constexpr std::array<char const*, 7> kFileNames = {
    "rear_camera_eeprom_data.bin",         "front_camera_eeprom_data.bin",      "rear_second_camera_eeprom_data.bin",
    "front_second_camera_eeprom_data.bin", "rear_third_camera_eeprom_data.bin", "front_third_camera_eeprom_data.bin",
    "rear_fourth_camera_eeprom_data.bin"};

// The block: 9 rows of value 0, two channels of 32 columns, value 65 and two channels more; then the valid byte.
constexpr int kRows = 9;
constexpr int kValuesPerRow = 130;
constexpr int kColumns = 32;
constexpr std::int32_t kBlockLength = kRows * kValuesPerRow * 2 + 1;
constexpr int kUnity = 0x2000;  // a value of 1.0
constexpr std::int32_t kMirrored = 2;

constexpr unsigned char kErased = 0xFF;  // an EEPROM's erased byte

struct Camera {
  std::size_t fileSize;
  std::int32_t recordOffset;
  std::array<unsigned char, 11> record;
  std::int32_t blockOffset;
  unsigned char blockValid;
  bool mirrored;
  int centreX;  // of the light, in 1/1024 of half the picture's width to the right of the middle
  int centreY;  // and downwards, in 1/1024 of the same
};

constexpr std::array<Camera, kFileNames.size()> kCameras = {{
    {16384, 0x1C40, {1, 0x17, 0x05, 0x2C, 0x9A, 3, 0xFF, 0x00, 0x40, 0x11, 0x00}, 0x2400, 1, false, 40, -30},
    {8192, 0x0A20, {1, 0x17, 0x03, 0x11, 0x42, 6, 0x00, 0x00, 0x38, 0x0F, 0x01}, 0x1000, 1, true, -90, 25},
    {16384, 0x0810, {1, 0x17, 0x06, 0x07, 0xC3, 7, 0xFF, 0x00, 0x44, 0x10, 0x00}, 0x0C00, 1, false, 15, 60},
    {8192, 0x0B20, {1, 0x17, 0x04, 0x19, 0x7E, 12, 0x80, 0x00, 0x3C, 0x12, 0x02}, 0x1200, 0, false, -20, 10},
    {8192, 0x0A20, {255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255}, 0x1000, 1, true, 120, -50},
    {0x1000 + 1000, 0x0600, {1, 0x17, 0x02, 0x21, 0x05, 15, 0x81, 0x00, 0x30, 0x0E, 0x00}, 0x1000, 1, false, 0, 0},
    {0, 0x0600, {}, 0x1000, 1, false, 0, 0},  // no file
}};

// Vignetting of a channel towards the corners; the two greens lie between red and blue.
enum class Channel { kRed, kGreenOfBlue, kBlue, kGreenOfRed };
constexpr std::array<Channel, 4> kChannelsInRow = {Channel::kRed, Channel::kGreenOfBlue, Channel::kBlue,
                                                   Channel::kGreenOfRed};

int FallOff(Channel channel) {
  switch (channel) {
    case Channel::kRed:
      return 1750;
    case Channel::kGreenOfBlue:
      return 1590;
    case Channel::kBlue:
      return 1480;
    case Channel::kGreenOfRed:
      return 1610;
  }
  return 0;
}

// kUnity where the light falls straight, about half of it in the corners: a polynomial of the distance, in integers so
// that it is the same on every processor. Distances are in 1/1024 of half the picture's width; a picture is 4 by 3.
int ShadingValue(Camera const& camera, int row, int column, Channel channel) {
  int const x = (2 * column - (kColumns - 1)) * 1024 / (kColumns - 1) - camera.centreX;
  int const y = (row - kRows / 2) * 768 / (kRows / 2) - camera.centreY;
  int const square = (x * x + y * y) / 1024;  // up to 2000 or so
  int const fourth = square * square / 1024;
  return kUnity - (FallOff(channel) * square + 600 * fourth + 512) / 1024;
}

void Put(Bytes& file, std::size_t at, int value) {
  file[at] = static_cast<unsigned char>(value & 0xFF);
  file[at + 1] = static_cast<unsigned char>(value >> 8);
}

// The values of a row in the order of the library's answer; cameras with mirrored rows store them mirrored.
void PutRow(Bytes& file, std::size_t at, Camera const& camera, int row) {
  std::array<int, kValuesPerRow> values = {};
  values.fill(kUnity);
  int place = 1;
  for (Channel const channel : kChannelsInRow) {
    if (place == kValuesPerRow / 2) ++place;
    for (int column = 0; column < kColumns; ++column) {
      values[static_cast<std::size_t>(place++)] = ShadingValue(camera, row, column, channel);
    }
  }
  if (camera.mirrored) std::reverse(values.begin() + 1, values.end());
  for (std::size_t k = 0; k < values.size(); ++k) Put(file, at + 2 * k, values[k]);
}

// Filler in place of the module's header and the manufacturer's other data, which precede the record.
void PutOtherData(Bytes& file, std::size_t upTo) {
  std::uint32_t state = 0x2545F491;
  for (std::size_t at = 0x40; at < upTo; ++at) {
    state = state * 1664525U + 1013904223U;
    file[at] = static_cast<unsigned char>(state >> 24);
  }
  constexpr char kHeader[] =
      "\x01"
      "MODULE 1.0";
  std::copy(std::begin(kHeader), std::end(kHeader), file.begin());
}

Bytes DumpFile(Camera const& camera) {
  auto const record = static_cast<std::size_t>(camera.recordOffset);
  auto const block = static_cast<std::size_t>(camera.blockOffset);
  Bytes file(std::max(camera.fileSize, block + kBlockLength), kErased);
  PutOtherData(file, record - 0x20);
  std::copy(camera.record.begin(), camera.record.end(), file.begin() + camera.recordOffset);
  for (int row = 0; row < kRows; ++row) {
    PutRow(file, block + static_cast<std::size_t>(row) * kValuesPerRow * 2, camera, row);
  }
  file[block + kBlockLength - 1] = camera.blockValid;
  file.resize(camera.fileSize);
  return file;
}

}  // namespace

std::string CalibrationFileName(int sensorIndex) {
  auto const index = static_cast<std::size_t>(sensorIndex);
  return sensorIndex >= 0 && index < kFileNames.size() ? kFileNames[index] : "";
}

void AddBuiltInCalibration(DeviceSettings& settings) {
  auto& keys = settings.configuration["FeatureShading"];
  for (std::size_t i = 0; i < kCameras.size(); ++i) {
    std::string const index = "[" + std::to_string(i) + "]";
    keys["multiGolden" + index] = {kCameras[i].recordOffset};
    keys["PNCCaliData" + index] = {kCameras[i].blockOffset, kBlockLength};
    for (ImageSensor& sensor : settings.sensors) {
      if (sensor.sensorIndex == static_cast<std::int32_t>(i) && kCameras[i].mirrored) {
        sensor.calibrationRowOrder = kMirrored;
      }
    }
  }
}

std::string WriteBuiltInCalibration(std::string const& directory) {
  for (std::size_t i = 0; i < kCameras.size(); ++i) {
    if (kCameras[i].fileSize == 0) continue;
    std::string const path = (std::filesystem::path(directory) / kFileNames[i]).string();
    Bytes const bytes = DumpFile(kCameras[i]);
    std::ofstream file(path, std::ios::binary);
    file.write(reinterpret_cast<char const*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    file.close();
    if (!file) return path + ": cannot be written: " + std::generic_category().message(errno);
  }
  return {};
}

}  // namespace desktop
