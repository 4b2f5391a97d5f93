#include "recording/CsvFile.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cfloat>
#include <charconv>
#include <cmath>
#include <cstring>
#include <string_view>
#include <system_error>
#include <utility>

#define CSV_IO_NO_THREAD
#include <libfccp/csv.h>

#include "hosting/FileDescriptor.h"
#include "hosting/Interruption.h"
#include "hosting/QuotedText.h"
#include "hosting/UnusableInput.h"

namespace recording {

// Properties of the file noted while its bytes are handed to the parser.
struct FileNotes {
  std::string firstLine;     // the beginning of the header
  bool lastLineEnds = true;  // known once everything is read
};

namespace {

constexpr std::size_t kForeignColumns = 4;  // of the files that may have quotes
constexpr std::size_t kNotedLine = 200;     // more than a message shows of it

// The bytes of a file for the parser, with an end of line at the end in any case: the parser looks one byte past the
// last line to find it. A zero byte would end a line unnoticed, so it is refused.
class FileBytes : public io::ByteSourceBase {
 public:
  // Opening must not block on a pipe: the read waits for it, and that wait can be interrupted.
  FileBytes(std::string const& path, std::uint32_t linesBefore, FileNotes& notes)
      : mPath(path), mFile(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY)), mNotes(notes) {
    struct stat status = {};
    if (!mFile || fstat(mFile.Number(), &status) != 0) Fail(errno);
    mMustWait = !S_ISREG(status.st_mode);
    // Byte by byte: the parser takes a block that is not full for the last one.
    for (char byte = 0; linesBefore > 0 && Read(&byte, 1) == 1; ++mOffset) {
      if (byte == '\n') --linesBefore;
    }
  }

  int read(char* buffer, int size) override {
    auto const wanted = static_cast<std::size_t>(size);
    std::size_t got = Read(buffer, wanted);
    if (void const* zero = std::memchr(buffer, 0, got)) {
      throw hosting::UnusableInput(fmt::format("{}: expected text, found a zero byte at offset {}", mPath,
                                               mOffset + (static_cast<char const*>(zero) - buffer)));
    }
    if (!std::exchange(mHasBegun, true)) {
      std::string_view const beginning(buffer, std::min(got, kNotedLine));
      mNotes.firstLine = beginning.substr(0, beginning.find_first_of("\r\n"));
    }
    mOffset += static_cast<std::int64_t>(got);
    if (got > 0) mLast = buffer[got - 1];
    if (got < wanted && mLast != '\n') {
      mLast = buffer[got++] = '\n';
      mNotes.lastLineEnds = false;
    }
    return static_cast<int>(got);
  }

 private:
  // Less than `wanted` at the end of the file alone.
  std::size_t Read(char* buffer, std::size_t wanted) {
    std::size_t got = 0;
    while (got < wanted) {
      if (mMustWait) hosting::WaitForInput(mFile.Number());
      ssize_t const more = ::read(mFile.Number(), buffer + got, wanted - got);
      if (more == 0) break;
      if (more > 0) got += static_cast<std::size_t>(more);
      if (more < 0 && errno != EINTR && errno != EAGAIN) Fail(errno);
    }
    return got;
  }

  [[noreturn]] void Fail(int error) const {
    throw hosting::UnusableInput(fmt::format("{}: cannot be read: {}", mPath, std::generic_category().message(error)));
  }

  std::string mPath;
  hosting::FileDescriptor mFile;
  bool mMustWait = false;
  bool mHasBegun = false;
  std::int64_t mOffset = 0;
  char mLast = '\n';
  FileNotes& mNotes;
};

}  // namespace

class CsvFile::Reader {
 public:
  virtual ~Reader() = default;
  virtual void ReadHeader(std::vector<Column> const& columns) = 0;
  virtual bool Names(char const* column) const = 0;
  virtual bool ReadRow(std::vector<char*>& fields) = 0;
  virtual unsigned int Line() const = 0;
  virtual FileNotes const& Notes() const = 0;
};

// The parser takes the number of its columns at compile time, and each of them as an argument of its own.
template <std::size_t N, class Quotes>
class CsvFile::ReaderOf : public CsvFile::Reader {
 public:
  ReaderOf(std::string const& path, std::uint32_t linesBefore)
      : mParser(path, std::unique_ptr<io::ByteSourceBase>(std::make_unique<FileBytes>(path, linesBefore, mNotes))) {}

  void ReadHeader(std::vector<Column> const& columns) override { ReadHeader(columns, std::make_index_sequence<N>()); }
  bool Names(char const* column) const override { return mParser.has_column(column); }
  bool ReadRow(std::vector<char*>& fields) override { return ReadRow(fields, std::make_index_sequence<N>()); }
  unsigned int Line() const override { return mParser.get_file_line(); }
  FileNotes const& Notes() const override { return mNotes; }

 private:
  template <std::size_t... I>
  void ReadHeader(std::vector<Column> const& columns, std::index_sequence<I...> /*indices*/) {
    mParser.read_header(io::ignore_extra_column | io::ignore_missing_column, columns[I].name...);
  }

  template <std::size_t... I>
  bool ReadRow(std::vector<char*>& fields, std::index_sequence<I...> /*indices*/) {
    return mParser.read_row(fields[I]...);
  }

  FileNotes mNotes;  // before the parser, which may read the whole file at once
  io::CSVReader<N, io::trim_chars<' ', '\t'>, Quotes, io::throw_on_overflow, io::empty_line_comment> mParser;
};

template <std::size_t N>
CsvFile::CsvFile(std::string path, std::array<Column, N> const& columns, LastLine lastLine, Dialect dialect)
    : mPath(std::move(path)),
      mColumns(columns.begin(), columns.end()),
      mFields(N, nullptr),
      mLastLineMustEnd(lastLine == LastLine::kMustEnd),
      mLinesBeforeHeader(dialect.linesBeforeHeader) {
  if constexpr (N == kForeignColumns) {
    using Quoting = io::double_quote_escape<',', '"'>;
    if (dialect.quotes) mReader = std::make_unique<ReaderOf<N, Quoting>>(mPath, mLinesBeforeHeader);
  }
  if (!mReader) mReader = std::make_unique<ReaderOf<N, io::no_quote_escape<','>>>(mPath, mLinesBeforeHeader);
  try {
    mReader->ReadHeader(mColumns);
  } catch (io::error::duplicated_column_in_header const& error) {
    throw hosting::UnusableInput(fmt::format("{}: {}: expected this column once, the header names it again: {}",
                                             Place(), error.column_name, hosting::Quoted(mReader->Notes().firstLine)));
  } catch (io::error::header_missing const&) {
    std::vector<char const*> names;
    for (Column const& column : mColumns) {
      if (column.required) names.push_back(column.name);
    }
    std::string const last = names.back();
    names.pop_back();
    std::string const all = names.empty() ? last : fmt::format("{} and {}", fmt::join(names, ", "), last);
    throw hosting::UnusableInput(fmt::format("{}:{}: expected a header that names the columns {}, found nothing", mPath,
                                             mLinesBeforeHeader + 1, all));
  } catch (io::error::base const& error) {
    throw hosting::UnusableInput(fmt::format("{}: {}", Place(), error.what()));
  }
  for (Column const& column : mColumns) {
    if (!column.required || mReader->Names(column.name)) continue;
    throw hosting::UnusableInput(fmt::format("{}: {}: expected this column, the header does not name it: {}", Place(),
                                             column.name, hosting::Quoted(mReader->Notes().firstLine)));
  }
}

template CsvFile::CsvFile(std::string, std::array<Column, 2> const&, LastLine, Dialect);
template CsvFile::CsvFile(std::string, std::array<Column, 3> const&, LastLine, Dialect);
template CsvFile::CsvFile(std::string, std::array<Column, 4> const&, LastLine, Dialect);
template CsvFile::CsvFile(std::string, std::array<Column, 20> const&, LastLine, Dialect);

CsvFile::~CsvFile() = default;

bool CsvFile::Next() {
  try {
    if (mReader->ReadRow(mFields)) return true;
  } catch (io::error::too_few_columns const&) {
    throw hosting::UnusableInput(fmt::format("{}: expected as many fields as the header names, found fewer", Place()));
  } catch (io::error::too_many_columns const&) {
    throw hosting::UnusableInput(fmt::format("{}: expected as many fields as the header names, found more", Place()));
  } catch (io::error::base const& error) {
    throw hosting::UnusableInput(fmt::format("{}: {}", Place(), error.what()));
  }
  if (mLastLineMustEnd && !mReader->Notes().lastLineEnds) {
    throw hosting::UnusableInput(
        fmt::format("{}: expected the end of a line, found the end of the file: it was cut", Place()));
  }
  return false;
}

std::uint64_t CsvFile::Line() const { return std::uint64_t{mLinesBeforeHeader} + mReader->Line(); }

bool CsvFile::LastLineEnds() const { return mReader->Notes().lastLineEnds; }

bool CsvFile::Names(std::size_t column) const { return mReader->Names(mColumns[column].name); }

std::string CsvFile::Place() const { return fmt::format("{}:{}", mPath, Line()); }

void CsvFile::Complain(std::size_t column, std::string const& expected) const {
  throw hosting::UnusableInput(fmt::format("{}: {}: expected {}, found {}", Place(), mColumns[column].name, expected,
                                           hosting::Quoted(mFields[column])));
}

std::string_view CsvFile::Text(std::size_t column) const {
  if (mFields[column] != nullptr) return mFields[column];
  throw hosting::UnusableInput(
      fmt::format("{}: {}: expected a value, the header does not name this column", Place(), mColumns[column].name));
}

template <class Number>
Number CsvFile::Parse(std::size_t column, char const* expected) const {
  std::string_view const text = Text(column);
  Number number{};
  auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc{} || end != text.data() + text.size()) Complain(column, expected);
  return number;
}

std::uint32_t CsvFile::Unsigned32(std::size_t column) const {
  return Parse<std::uint32_t>(column, "a whole number from 0 to 4294967295");
}

std::uint64_t CsvFile::Unsigned64(std::size_t column) const {
  return Parse<std::uint64_t>(column, "a whole number from 0 to 18446744073709551615");
}

std::int32_t CsvFile::Signed32(std::size_t column) const {
  return Parse<std::int32_t>(column, "a whole number of 32 bits");
}

std::int64_t CsvFile::Signed64(std::size_t column) const {
  return Parse<std::int64_t>(column, "a whole number of 64 bits");
}

float CsvFile::Finite(std::size_t column) const {
  std::string_view const text = Text(column);
  char const* const last = text.data() + text.size();
  float number = 0;
  auto const [end, error] = std::from_chars(text.data(), last, number);
  bool const isRead = error != std::errc::invalid_argument && end == last;
  if (!isRead || !std::isfinite(number)) Complain(column, "a decimal number");
  if (error == std::errc{}) return number;
  double wide = 0;
  bool const isTiny = std::from_chars(text.data(), last, wide).ec == std::errc{} && std::abs(wide) < 1;
  if (!isTiny) Complain(column, fmt::format("a number that single precision holds, at most {:.8g}", FLT_MAX));
  return 0;
}

bool CsvFile::Flag(std::size_t column) const {
  std::string_view const text = Text(column);
  if (text != "0" && text != "1") Complain(column, "0 or 1");
  return text == "1";
}

}  // namespace recording
