// hall.csv of a recording: the samples in the order of delivery.
#pragma once

#include <fmt/format.h>

#include <cstdint>
#include <optional>
#include <string>

#include "platform/SensorProvider.h"
#include "recording/CallColumns.h"

namespace recording {

class HallFile {
 public:
  struct HallRow {
    std::uint64_t owner = 0;  // the frame or call with which the sample was delivered
    NSCam::Utils::SensorData sample;
  };

  // Reads the first row. `owner` is "frame" or "call". Throws UnusableInput (CsvFile).
  HallFile(std::string const& directory, char const* owner, LastLine lastLine)
      : mFile(directory + "/hall.csv", {{owner}, kSampleColumns[1], kSampleColumns[2], kSampleColumns[3]}, {lastLine}),
        mOwner(owner) {
    Next();
  }

  // The row that was read last; nullopt at the end of the file.
  std::optional<HallRow> const& Row() const { return mRow; }

  void Next() {
    std::uint64_t const before = mRow ? mRow->owner : 0;
    mRow.reset();
    if (!mFile.Next()) return;
    HallRow row;
    row.owner = mOwner == "frame" ? mFile.Unsigned32(kSampleOwner) : mFile.Unsigned64(kSampleOwner);
    row.sample.timestamp = mFile.Signed64(kSampleTimestamp);
    row.sample.oisHallX = mFile.Finite(kSampleHallX);
    row.sample.oisHallY = mFile.Finite(kSampleHallY);
    if (row.owner < before) {
      mFile.Complain(kSampleOwner, fmt::format("at least {}, the {} of the row before", before, mOwner));
    }
    mRow = row;
  }

  // For complaints about the row, and its place.
  CsvFile const& File() const { return mFile; }

 private:
  CsvFile mFile;
  std::string_view mOwner;
  std::optional<HallRow> mRow;
};

}  // namespace recording
