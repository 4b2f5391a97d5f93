// Whether a camera's calibration is usable, and what its images get otherwise, in words and numbers.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tools/shadingctl/calibration/CameraCalibration.h"

namespace shadingctl {

constexpr std::size_t kBlockRows = 9;  // of a PNC block
constexpr int kValidRecord = 1;        // its byte 0

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

// What kind of block the caller gets, one of these words.
constexpr std::string_view kStored = "as stored";
constexpr std::string_view kMirrored = "mirrored";
constexpr std::string_view kDefaultFill = "default fill";
constexpr std::string_view kUntouched = "untouched";
constexpr std::string_view kNotAsked = "not asked";
std::string_view KindOf(CameraCalibration const& camera);

// The whole rows of a block, 9 at most: 130 16-bit values, low byte first.
std::vector<std::vector<unsigned int>> RowsOf(std::vector<unsigned char> const& block);

}  // namespace shadingctl
