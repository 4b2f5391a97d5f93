// The one reader of delimited text: rows under a header, with an exact place for every complaint.
#pragma once

#include <fmt/format.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "hosting/UnusableInput.h"
#include "recording/InputFile.h"

namespace recording {

// The values of --separator.
struct Separator {
  char const* name = nullptr;
  char character = '\0';
};
constexpr std::array<Separator, 4> kSeparators = {{{"comma", ','}, {"semicolon", ';'}, {"tab", '\t'}, {"blank", ' '}}};

enum class LastLine {
  kMayLackItsEnd,
  kMustEnd,    // of files that a program writes: without its end, a line may have been cut inside a number
  kIsSalvaged  // left out where it lacks its end
};

struct CsvDialect {
  LastLine lastLine = LastLine::kMayLackItsEnd;
  // Another program's file, for a command with --skip, --separator and --skip-bad, which messages name where they help.
  // Values may stand between quotes, with doubled ones inside, and whole numbers may end in a point and zeros.
  bool isForeign = false;
  std::uint32_t linesBeforeHeader = 0;
  Separator separator = kSeparators[0];
  bool skipsBadRows = false;  // ReadRow leaves them out and counts them
};

// A line with another number of values than the header has names, or with a text that is no value of its column.
class UnreadableRow : public hosting::UnusableInput {
 public:
  using UnusableInput::UnusableInput;
};

// A file with a header line that names at least the wanted columns, in any order. Lines may end in CR LF, a byte order
// mark at the beginning and blanks around values are passed over, and so are empty lines. Holds a block of the file.
//
// Everything that cannot be used throws UnusableInput: "FILE: cannot be read: REASON" or
// "FILE:LINE: COLUMN: expected EXPECTATION, found 'TEXT'".
class CsvFile {
 public:
  struct Column {
    char const* name;
    bool required = true;  // in the header
  };

  // Opens the file and reads its header. The names must outlive this object.
  CsvFile(std::string path, std::vector<Column> columns, CsvDialect dialect = {})
      : CsvFile(InputFile(std::move(path)), std::move(columns), dialect) {}
  CsvFile(InputFile file, std::vector<Column> columns, CsvDialect dialect = {});

  // Goes to the next line that is not empty; false when there is none.
  bool Next();

  // Goes to the next line that is not empty and calls `read`, which takes its values; false when there is none. With
  // skipsBadRows, lines that cannot be split or at which `read` throws UnreadableRow are left out.
  template <class Read>
  bool ReadRow(Read read) {
    for (;;) {
      try {
        if (!Next()) return false;
        read();
        return true;
      } catch (UnreadableRow const& unreadable) {
        Skip(unreadable);
      }
    }
  }
  std::uint64_t SkippedRows() const { return mSkippedRows; }
  // A sentence with their number and what is wrong with the first; empty where there are none.
  std::string SkippedText() const;

  // The place of a last line without its end that was left out; empty where there is none.
  std::string const& SalvagedAt() const { return mSalvagedAt; }

  // Whether the header names the wanted column of that index.
  bool Names(std::size_t column) const { return mFields[column].data() != nullptr; }

  // The columns of the header that are not wanted: how many, and the first one's name.
  std::size_t Unwanted() const { return mUnwanted; }
  std::string const& FirstUnwanted() const { return mFirstUnwanted; }

  std::uint64_t Line() const { return mLines.Line(); }
  // "FILE:LINE"
  std::string Place() const;

  // Whether the current line has a value in the wanted column of that index. The other operations take an empty text
  // for a value that is wrong, and complain of a column that the header does not name.
  bool Has(std::size_t column) const { return !mFields[column].empty(); }

  // The current line's value in the wanted column of that index, valid until the next line. Throws UnreadableRow for a
  // text that is no value of the kind.
  std::string_view Text(std::size_t column) const;
  // As a whole number of 32 or 64 bits, the single-precision number nearest to the text, or a flag (0 or 1).
  template <class Value>
  Value Get(std::size_t column) const;
  template <class Value>
  std::optional<Value> IfAny(std::size_t column) const {
    return Has(column) ? std::optional(Get<Value>(column)) : std::nullopt;
  }

  // For a text that is no value of its column: throws UnreadableRow.
  [[noreturn]] void Refuse(std::size_t column, std::string const& expected) const;
  // For a value that can be read but not used: throws UnusableInput.
  [[noreturn]] void Complain(std::size_t column, std::string const& expected) const;

 private:
  bool NextText(std::string_view& line);  // the next line that is not empty, without its end
  void MatchColumns(std::string_view header);
  template <class... Values>
  [[noreturn]] void Fail(fmt::format_string<Values const&...> text, Values const&... values) const;
  [[noreturn]] void RefuseHeader(std::string_view header, char const* missing) const;
  std::string WantedNames() const;
  std::string_view TakeField(std::string_view& rest, bool& isLast);
  std::string_view TakeQuoted(std::string_view& rest, bool& isLast);
  std::string Complaint(std::size_t column, std::string const& expected) const;
  void Skip(UnreadableRow const& unreadable);  // counts it, or throws it
  [[noreturn]] void RefuseRow(std::string const& complaint) const;
  [[noreturn]] void RefuseCut() const;

  LineReader mLines;
  std::vector<Column> mColumns;
  CsvDialect mDialect;
  std::vector<std::size_t> mTargets;      // for each column of the header, the index of a wanted one, or kUnwanted
  std::vector<std::string_view> mFields;  // of the current line; without data: the header does not name the column
  std::deque<std::string> mUnquoted;      // values that had doubled quotes
  std::size_t mUnwanted = 0;
  std::string mFirstUnwanted;
  std::uint64_t mRows = 0;
  std::uint64_t mSkippedRows = 0;
  std::string mFirstSkipped;
  std::string mSalvagedAt;
};

template <>
float CsvFile::Get(std::size_t column) const;
template <>
bool CsvFile::Get(std::size_t column) const;

// The number of lines of a regular file that hold this text; nullopt for a pipe, which can be read only once.
std::optional<std::uint64_t> CountLines(std::string const& path, std::string_view text);

}  // namespace recording
