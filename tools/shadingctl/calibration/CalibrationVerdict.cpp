#include "tools/shadingctl/calibration/CalibrationVerdict.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>

namespace shadingctl {
namespace {

constexpr std::size_t kValuesPerRow = 130;
constexpr int kValid = 1;
constexpr int kMirroredLength = static_cast<int>(kBlockRows * kValuesPerRow * 2) + 1;

std::string RangeOfTable(int table) {
  for (TableRange const& range : kTableRanges) {
    if (range.table != table) continue;
    if (!range.from) return fmt::format("is {} or less", *range.to);
    if (!range.to) return fmt::format("is {} or more", *range.from);
    return fmt::format("lies in {} to {}", *range.from, *range.to);
  }
  return "is in no known range";
}

// Why neither table nor block can be read: the reasons in configuration and file that both have in common.
std::string WhatIsMissing(CameraCalibration const& camera, bool hasKey, char const* key, char const* values) {
  if (!camera.places.hasFeature) return "the device's configuration has no feature FeatureShading";
  if (!hasKey) return fmt::format("the device's configuration has no {} under {}[{}]", values, key, camera.sensorIndex);
  if (camera.file.problem.empty()) return "the library does not say";
  return camera.file.name.empty() ? camera.file.problem : "the dump file " + camera.file.problem;
}

std::string HexOf(DumpFile const& file, std::size_t first, std::size_t last) {
  std::string hex;
  for (std::size_t i = first; i <= last; ++i) {
    hex += i == first ? "" : " ";
    hex += i < file.recordBytes ? fmt::format("{:02x}", file.record[i]) : "--";
  }
  return hex;
}

// "; the file holds 3 of its 11 bytes" where it does not hold all.
std::string CutRecord(DumpFile const& file) {
  if (file.recordBytes == kRecordSize) return {};
  if (!file.size) return "; the file " + file.problem;
  return fmt::format("; the file ({} bytes) holds {} of the record's {} bytes, the others read as 0", *file.size,
                     file.recordBytes, kRecordSize);
}

}  // namespace

Verdict JudgeTable(CameraCalibration const& camera) {
  constexpr char const* kDefault = "table 1";
  if (!camera.record) {
    return {false, WhatIsMissing(camera, camera.places.recordOffset.has_value(), "multiGolden", "offset"), kDefault};
  }
  std::string const cut = CutRecord(camera.file);
  if (camera.record->valid != kValid) {
    return {false, fmt::format("the record is invalid: byte 0 is {}, not 1{}", camera.record->valid, cut), kDefault};
  }
  return {cut.empty(), fmt::format("gradient {:+} {}{}", camera.record->gradient, RangeOfTable(camera.table), cut), ""};
}

BlockKind KindOf(CameraCalibration const& camera) {
  if (!camera.blockAsked) return BlockKind::kNotAsked;
  if (!camera.block) return BlockKind::kUntouched;
  if (camera.blockValid != static_cast<unsigned int>(kValid)) return BlockKind::kDefaultFill;
  return camera.mirrored ? BlockKind::kMirrored : BlockKind::kStored;
}

char const* Name(BlockKind kind) {
  switch (kind) {
    case BlockKind::kStored:
      return "as stored";
    case BlockKind::kMirrored:
      return "mirrored";
    case BlockKind::kDefaultFill:
      return "default fill";
    case BlockKind::kUntouched:
      return "untouched";
    case BlockKind::kNotAsked:
      return "not asked";
  }
  return "";
}

Verdict JudgeBlock(CameraCalibration const& camera) {
  constexpr char const* kUntouched = "the caller's buffer stays as it was";
  auto const& place = camera.places.block;
  std::int64_t const length = place ? place->length : 0;
  switch (KindOf(camera)) {
    case BlockKind::kStored:
      return {true, "valid; the sensor does not ask for mirrored rows", ""};
    case BlockKind::kMirrored:
      return {true, "valid; the sensor asks for it, so values 1 to 129 of each row are reversed", ""};
    case BlockKind::kNotAsked:
      return {
          false,
          fmt::format("PNCCaliData[{}] says {} bytes; expected at most {}", camera.sensorIndex, length, kBlockLimit),
          "none known: the library was not asked"};
    case BlockKind::kDefaultFill: {
      std::int64_t const end = place->offset + length;
      bool const isCut = !camera.file.size || place->offset < 0 || end > *camera.file.size;
      std::string reason =
          fmt::format("the block is invalid: its valid byte is {:#04x}, not 0x01", camera.blockValid.value_or(0));
      if (isCut && camera.file.size) {
        reason = fmt::format("the block is bytes {} to {}, the file has {}: its valid byte reads as 0", place->offset,
                             end - 1, *camera.file.size);
      } else if (isCut) {
        reason = "the dump file " + camera.file.problem;
      }
      return {false, reason, "0x2000 in every value"};
    }
    case BlockKind::kUntouched:
      break;
  }
  if (place && (length < 4 || length % 4 > 1)) {
    return {false,
            fmt::format("PNCCaliData[{}] says {} bytes; expected 4k or 4k + 1, at least 4", camera.sensorIndex, length),
            kUntouched};
  }
  if (camera.blockValid == static_cast<unsigned int>(kValid)) {
    return {false,
            fmt::format("PNCCaliData[{}] says {} bytes; rows are to be mirrored, which needs {}", camera.sensorIndex,
                        length, kMirroredLength),
            kUntouched};
  }
  return {false, WhatIsMissing(camera, place.has_value(), "PNCCaliData", "offset and length"), kUntouched};
}

std::vector<RecordPart> ExplainRecord(CameraCalibration const& camera) {
  if (!camera.record) return {};
  DumpFile const& file = camera.file;
  bool const isValid = camera.record->valid == kValid;
  int const sign = file.record[6];
  std::string const unused = isValid ? "" : ", not used";
  return {{"0", HexOf(file, 0, 0), isValid ? "1: the record is valid" : "not 1: the record is invalid"},
          {"1-4", HexOf(file, 1, 4), "not interpreted"},
          {"5", HexOf(file, 5, 5), fmt::format("magnitude of the gradient: {}{}", file.record[5], unused)},
          {"6", HexOf(file, 6, 6),
           fmt::format("its sign: {}{}", sign > 128 ? "negative (129 to 255)" : "positive (0 to 128)", unused)},
          {"7-9", HexOf(file, 7, 9), "not interpreted"},
          {"10", HexOf(file, 10, 10), "flag_f: only logged"}};
}

std::vector<std::vector<unsigned int>> RowsOf(std::vector<unsigned char> const& block) {
  std::vector<std::vector<unsigned int>> rows(std::min(block.size() / (2 * kValuesPerRow), kBlockRows));
  std::size_t at = 0;
  for (auto& row : rows) {
    for (std::size_t k = 0; k < kValuesPerRow; ++k, at += 2) row.push_back(block[at] + 256U * block[at + 1]);
  }
  return rows;
}

}  // namespace shadingctl
