// The rows of a CSV file whose last line may be cut.
#pragma once

#include <fmt/format.h>

#include <cstdint>
#include <exception>
#include <functional>
#include <optional>
#include <string>
#include <utility>

#include "hosting/UnusableInput.h"
#include "recording/CsvFile.h"

namespace shadingctl {

// Reads one row ahead: a last line without an end may have been cut inside a number, and is never handed out. It ends
// the rows where `salvages` is set, and else throws UnusableInput.
template <class Row>
class WholeRows {
 public:
  WholeRows(recording::CsvFile& file, std::function<Row()> read, bool salvages)
      : mFile(file), mRead(std::move(read)), mSalvages(salvages) {
    ReadAhead();
  }

  // nullopt at the end.
  std::optional<Row> Next() {
    if (!mAhead) return std::nullopt;
    Ahead row = std::move(*mAhead);
    ReadAhead();
    if (!mAhead && !mFile.LastLineEnds()) {
      mCutAt = row.place;
      if (mSalvages) return std::nullopt;
      throw hosting::UnusableInput(
          fmt::format("{}: expected the end of a line, found the end of the file, so the line may be cut; the {} lines "
                      "of values before it are whole, and --salvage takes those",
                      row.place, mRows));
    }
    if (row.complaint) std::rethrow_exception(row.complaint);
    ++mRows;
    return std::move(row.row);
  }

  // "FILE:LINE" of the cut line; empty as long as none was met.
  std::string const& CutAt() const { return mCutAt; }

 private:
  struct Ahead {
    std::optional<Row> row;
    std::exception_ptr complaint;  // in place of the row; of no interest where the line is cut
    std::string place;
  };

  void ReadAhead() {
    mAhead.reset();
    Ahead ahead;
    try {
      if (!mFile.Next()) return;
      ahead.row = mRead();
    } catch (hosting::UnusableInput const&) {
      ahead.complaint = std::current_exception();
    }
    ahead.place = mFile.Place();
    mAhead = std::move(ahead);
  }

  recording::CsvFile& mFile;
  std::function<Row()> mRead;
  bool mSalvages;
  std::optional<Ahead> mAhead;
  std::uint64_t mRows = 0;  // handed out
  std::string mCutAt;
};

}  // namespace shadingctl
