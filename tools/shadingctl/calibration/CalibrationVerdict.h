// Whether a camera's calibration is usable, and what its images get otherwise, in words and numbers.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "tools/shadingctl/calibration/CameraCalibration.h"

namespace shadingctl {

constexpr std::size_t kBlockRows = 9;  // of a PNC block

struct Verdict {
  bool sound = false;         // the data are there and marked valid
  std::string reason;         // one line
  std::string defaultAnswer;  // what the caller gets instead; empty when it gets the data
};

Verdict JudgeTable(CameraCalibration const& camera);
Verdict JudgeBlock(CameraCalibration const& camera);

// The gradients that lead to a table; nullopt where nothing limits them.
struct TableRange {
  int table = 0;
  std::optional<int> from;
  std::optional<int> to;
};
constexpr TableRange kTableRanges[] = {{5, std::nullopt, -9}, {3, -8, -5}, {1, -4, 4}, {2, 5, 8}, {4, 9, std::nullopt}};

// What kind of block the caller gets.
enum class BlockKind { kStored, kMirrored, kDefaultFill, kUntouched, kNotAsked };
BlockKind KindOf(CameraCalibration const& camera);
char const* Name(BlockKind kind);  // "as stored", "mirrored", "default fill", "untouched", "not asked"

// One part of the record and what it says.
struct RecordPart {
  std::string bytes;  // "0", "1-4"
  std::string hex;    // "17 05 2c 9a"; "--" for a byte that the file does not supply
  std::string meaning;
};
std::vector<RecordPart> ExplainRecord(CameraCalibration const& camera);

// The whole rows of a block, 9 at most: 130 16-bit values, low byte first.
std::vector<std::vector<unsigned int>> RowsOf(std::vector<unsigned char> const& block);

}  // namespace shadingctl
