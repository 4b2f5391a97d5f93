// Reads the comma-separated files of a recording, line by line, with an exact place for every complaint.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace recording {

// A file with a header line that names at least the wanted columns, in any order. Lines may end in CR LF, and empty
// lines are passed over. Holds a few blocks of the file, never all of it.
//
// Everything that cannot be used throws UnusableInput: "FILE: cannot be read: REASON" or
// "FILE:LINE: COLUMN: expected EXPECTATION, found 'TEXT'".
class CsvFile {
 public:
  struct Column {
    char const* name;
    bool required = true;  // in the header
  };

  enum class LastLine {
    kMayLackItsEnd,
    kMustEnd,  // of files that a program writes: without its end, a line may have been cut inside a number
  };

  // What files of other programs have besides.
  struct Dialect {
    std::uint32_t linesBeforeHeader = 0;
    bool quotes = false;  // around a name or a value, with doubled ones inside
  };

  // Opens the file and reads its header. Instantiated in the source for the numbers of columns that are in use.
  template <std::size_t N>
  CsvFile(std::string path, std::array<Column, N> const& columns, LastLine lastLine = LastLine::kMayLackItsEnd,
          Dialect dialect = {0, false});
  ~CsvFile();
  CsvFile(CsvFile const&) = delete;
  CsvFile& operator=(CsvFile const&) = delete;

  // Goes to the next line that is not empty; false when there is none.
  bool Next();

  // Whether the last line has an end. Known once Next has answered false.
  bool LastLineEnds() const;

  // Whether the header names the wanted column of that index.
  bool Names(std::size_t column) const;

  // The current line's number, counted from 1.
  std::uint64_t Line() const;
  // "FILE:LINE"
  std::string Place() const;

  // Whether the current line has a value in the wanted column of that index. The other operations take an empty text
  // for a value that is wrong, and complain of a column that the header does not name.
  bool Has(std::size_t column) const { return mFields[column] != nullptr && *mFields[column] != '\0'; }

  // The current line's value in the wanted column of that index.
  std::string_view Text(std::size_t column) const;
  std::uint32_t Unsigned32(std::size_t column) const;
  std::uint64_t Unsigned64(std::size_t column) const;
  std::int32_t Signed32(std::size_t column) const;
  std::int64_t Signed64(std::size_t column) const;
  float Finite(std::size_t column) const;  // the single-precision number nearest to the text
  bool Flag(std::size_t column) const;     // 0 or 1

  // For a value that can be read but not used.
  [[noreturn]] void Complain(std::size_t column, std::string const& expected) const;

 private:
  class Reader;
  template <std::size_t N, class Quotes>
  class ReaderOf;

  template <class Number>
  Number Parse(std::size_t column, char const* expected) const;

  std::string mPath;
  std::vector<Column> mColumns;
  std::vector<char*> mFields;  // null: the header does not name the column
  bool mLastLineMustEnd;
  std::uint32_t mLinesBeforeHeader;
  std::unique_ptr<Reader> mReader;
};

}  // namespace recording
