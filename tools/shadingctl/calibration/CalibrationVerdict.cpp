#include "tools/shadingctl/calibration/CalibrationVerdict.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>

namespace shadingctl {
namespace {

constexpr std::size_t kValuesPerRow = 130;
constexpr unsigned int kValidBlock = 1;  // its last byte
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

// "; the file holds 3 of its 11 bytes" where it does not hold all.
std::string CutRecord(DumpFile const& file) {
  if (file.recordBytes == kRecordSize) return {};
  if (!file.size) return "; the file " + file.problem;
  return fmt::format("; the file ({} bytes) holds {} of the record's {} bytes, the others read as 0", *file.size,
                     file.recordBytes, kRecordSize);
}

// Where the valid byte is not 1.
std::string WhyDefaultFill(CameraCalibration const& camera) {
  auto const& place = camera.places.block;
  std::int64_t const end = std::int64_t{place->offset} + place->length;
  bool const isCut = !camera.file.size || place->offset < 0 || end > *camera.file.size;
  if (!isCut)
    return fmt::format("the block is invalid: its valid byte is {:#04x}, not 0x01", camera.blockValid.value_or(0));
  if (!camera.file.size) return "the dump file " + camera.file.problem;
  return fmt::format("the block is bytes {} to {}, the file has {}: its valid byte reads as 0", place->offset, end - 1,
                     *camera.file.size);
}

}  // namespace

Verdict JudgeTable(CameraCalibration const& camera) {
  constexpr char const* kDefault = "table 1";
  if (!camera.record) {
    return {false, WhatIsMissing(camera, camera.places.recordOffset.has_value(), "multiGolden", "offset"), kDefault};
  }
  std::string const cut = CutRecord(camera.file);
  if (camera.record->valid != kValidRecord) {
    return {false, fmt::format("the record is invalid: byte 0 is {}, not 1{}", camera.record->valid, cut), kDefault};
  }
  return {cut.empty(), fmt::format("gradient {:+} {}{}", camera.record->gradient, RangeOfTable(camera.table), cut), ""};
}

std::string_view KindOf(CameraCalibration const& camera) {
  if (!camera.blockAsked) return kNotAsked;
  if (!camera.block) return kUntouched;
  if (camera.blockValid != kValidBlock) return kDefaultFill;
  return camera.mirrored ? kMirrored : kStored;
}

Verdict JudgeBlock(CameraCalibration const& camera) {
  auto const& place = camera.places.block;
  std::int64_t const length = place ? place->length : 0;
  std::string_view const kind = KindOf(camera);
  std::string const says = fmt::format("PNCCaliData[{}] says {} bytes; ", camera.sensorIndex, length);
  if (kind == kStored) return {true, "valid; the sensor does not ask for mirrored rows", ""};
  if (kind == kMirrored) {
    return {true, "valid; the sensor asks for it, so values 1 to 129 of each row are reversed", ""};
  }
  if (kind == kNotAsked) {
    return {false, fmt::format("{}expected at most {}", says, kBlockLimit), "none known: the library was not asked"};
  }
  if (kind == kDefaultFill) return {false, WhyDefaultFill(camera), "0x2000 in every value"};
  std::string reason = WhatIsMissing(camera, place.has_value(), "PNCCaliData", "offset and length");
  if (place && (length < 4 || length % 4 > 1)) {
    reason = says + "expected 4k or 4k + 1, at least 4";
  } else if (camera.blockValid == kValidBlock) {
    reason = fmt::format("{}rows are to be mirrored, which needs {}", says, kMirroredLength);
  }
  return {false, reason, "the caller's buffer stays as it was"};
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
