// Reads the comma-separated files of a recording, line by line, with an exact place for every complaint.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace hosting {

// A file with a header line that names at least the four wanted columns, in any order. Lines may end in CR LF, the last
// one may lack its end, and empty lines are passed over. Holds a few blocks of the file, never all of it.
//
// Everything that cannot be used throws UnusableInput: "FILE: cannot be read: REASON" or
// "FILE:LINE: COLUMN: expected EXPECTATION, found 'TEXT'".
class CsvFile {
 public:
  static constexpr std::size_t kColumns = 4;
  using Columns = std::array<char const*, kColumns>;

  // Opens the file and reads its header.
  CsvFile(std::string path, Columns const& columns);
  ~CsvFile();
  CsvFile(CsvFile const&) = delete;
  CsvFile& operator=(CsvFile const&) = delete;

  // Goes to the next line that is not empty; false when there is none.
  bool Next();

  // The current line's number, counted from 1.
  std::uint64_t line() const;
  // "FILE:LINE"
  std::string Place() const;

  // The current line's value in the wanted column of that index.
  std::uint32_t Unsigned32(std::size_t column) const;
  std::uint64_t Unsigned64(std::size_t column) const;
  std::int64_t Signed64(std::size_t column) const;
  float Finite(std::size_t column) const;  // the single-precision number nearest to the text

  // For a value that can be read but not used.
  [[noreturn]] void Complain(std::size_t column, std::string const& expected) const;

 private:
  struct Reader;

  template <class Number>
  Number Parse(std::size_t column, char const* expected) const;

  std::string mPath;
  Columns mColumns;
  std::array<char*, kColumns> mFields{};
  std::unique_ptr<Reader> mReader;
};

}  // namespace hosting
