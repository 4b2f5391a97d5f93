// Compares a result with one that was kept.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "recording/LineReader.h"
#include "tools/shadingctl/frame/FrameResult.h"

namespace shadingctl {

// Compares rows with a CSV file line by line, in the columns that its header names.
class GoldenCheck {
 public:
  // Reads the header. Throws UnusableInput when the file cannot be read or names a column that results do not have.
  explicit GoldenCheck(std::string const& path);

  void Add(FrameResult const& row);
  // All rows were added.
  void Finish();

  std::uint64_t Differences() const { return mDifferences; }  // lines
  // "FILE:LINE: COLUMN: expected TEXT, found TEXT" of the first ones, and how many there are in all.
  std::vector<std::string> const& Complaints() const { return mComplaints; }

 private:
  static constexpr std::size_t kTold = 5;

  void Complain(std::string const& complaint);

  recording::LineReader mFile;
  std::vector<std::string> mNames;
  std::vector<std::size_t> mColumns;  // of the result, for each of the file's
  std::uint64_t mLine = 1;
  std::uint64_t mDifferences = 0;
  std::vector<std::string> mComplaints;
};

}  // namespace shadingctl
