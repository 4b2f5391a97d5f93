// One camera's calibration data and the library's answers about them, for people and for programs.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "lsc/VeyraShadingUtil.h"
#include "platform/desktop/Device.h"
#include "tools/shadingctl/output/Json.h"

namespace shadingctl {

constexpr std::size_t kRecordSize = 11;  // bytes of the multi-golden record

// A caller's buffer is made as large as the configuration says; a length over this is a broken configuration, not a
// block, and the library is not asked.
constexpr int kBlockLimit = 1 << 20;

// The two entries of the hardware configuration; empty where there is no such key or it has too few values.
struct CalibrationPlaces {
  bool hasFeature = false;
  std::optional<std::int32_t> recordOffset;
  struct Block {
    std::int32_t offset = 0;
    std::int32_t length = 0;
  };
  std::optional<Block> block;
};

// The dump file, looked at beside the library.
struct DumpFile {
  std::string name;                  // the phone's; empty where it has none for this sensor index
  std::string problem;               // why it cannot be read; else empty
  std::optional<std::int64_t> size;  // bytes, of a file that can be read
  std::array<unsigned char, kRecordSize> record{};
  std::size_t recordBytes = 0;       // how many of them the file supplies
  std::vector<unsigned char> block;  // without its valid byte; as much as the file supplies
};

struct CameraCalibration {
  int sensorIndex = 0;
  CalibrationPlaces places;
  DumpFile file;

  // The library's answer about the table, and its message about the record, if there was one.
  int table = 0;
  bool settled = false;  // a second query makes no platform call
  struct Record {
    int table = 0;
    int valid = 0;
    int gradient = 0;
    int flag = 0;
    int furtherFlag = 0;
  };
  std::optional<Record> record;

  // The library's answer about the block. Empty when the buffer was not touched.
  bool blockAsked = false;
  std::optional<unsigned int> blockValid;  // the valid byte; told when the file could be opened
  bool mirrored = false;
  std::optional<std::vector<unsigned char>> block;

  std::vector<std::string> messages;  // without the source lines of errors
};

// The sensor indices that have calibration to look for: those of the device's sensors and of its configuration keys.
std::vector<int> CamerasOf(desktop::DeviceSettings const& settings);

// Asks the library about one camera: its table, the table once more, its block. `device` is the one that the library
// runs on, with the file sink of its log on; what it listens to or records is replaced.
CameraCalibration AskCalibration(VeyraShadingUtil& library, desktop::Device& device, int sensorIndex);

constexpr std::size_t kBlockRows = 9;  // of a PNC block

// Kinds of blocks of which the caller gets nothing: the member "kind" of a block.
constexpr char kUntouched[] = "untouched";
constexpr char kNotAsked[] = "not asked";

// The document of `shadingctl calibration`, from which the other formats are made. `device` says in words whose cameras
// they are.
Json CalibrationJson(std::string const& device, std::vector<CameraCalibration> const& cameras);

std::string CalibrationText(Json const& document);
std::string CalibrationCsv(Json const& document);

}  // namespace shadingctl
