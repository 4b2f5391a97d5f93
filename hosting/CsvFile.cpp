#include "hosting/CsvFile.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
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
#include "hosting/UnusableInput.h"

namespace hosting {
namespace {

// The bytes of a file for the parser, with an end of line at the end in any case: the parser looks one byte past the
// last line to find it. A zero byte would end a line unnoticed, so it is refused.
class FileBytes : public io::ByteSourceBase {
 public:
  // A pipe is waited for when it is read, not here, so that the wait can be interrupted.
  explicit FileBytes(std::string const& path)
      : mPath(path), mFile(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY)) {
    struct stat status = {};
    if (!mFile || fstat(mFile.number(), &status) != 0) Fail(errno);
    mMustWait = !S_ISREG(status.st_mode);
  }

  int read(char* buffer, int size) override {
    auto const wanted = static_cast<std::size_t>(size);
    std::size_t got = 0;
    while (got < wanted) {
      if (mMustWait) WaitForInput(mFile.number());
      ssize_t const more = ::read(mFile.number(), buffer + got, wanted - got);
      if (more == 0) break;
      if (more > 0) got += static_cast<std::size_t>(more);
      if (more < 0 && errno != EINTR && errno != EAGAIN) Fail(errno);
    }
    if (void const* zero = std::memchr(buffer, 0, got)) {
      throw UnusableInput(fmt::format("{}: expected text, found a zero byte at offset {}", mPath,
                                      mOffset + (static_cast<char const*>(zero) - buffer)));
    }
    mOffset += static_cast<std::int64_t>(got);
    if (got > 0) mLast = buffer[got - 1];
    if (got < wanted && mLast != '\n') mLast = buffer[got++] = '\n';
    return static_cast<int>(got);
  }

 private:
  [[noreturn]] void Fail(int error) const {
    throw UnusableInput(fmt::format("{}: cannot be read: {}", mPath, std::generic_category().message(error)));
  }

  std::string mPath;
  FileDescriptor mFile;
  bool mMustWait = false;
  std::int64_t mOffset = 0;
  char mLast = '\n';
};

}  // namespace

struct CsvFile::Reader : io::CSVReader<kColumns, io::trim_chars<' ', '\t'>, io::no_quote_escape<','>,
                                       io::throw_on_overflow, io::empty_line_comment> {
  using CSVReader::CSVReader;
};

CsvFile::CsvFile(std::string path, Columns const& columns) : mPath(std::move(path)), mColumns(columns) {
  mReader = std::make_unique<Reader>(mPath, std::unique_ptr<io::ByteSourceBase>(std::make_unique<FileBytes>(mPath)));
  try {
    mReader->read_header(io::ignore_extra_column, columns[0], columns[1], columns[2], columns[3]);
  } catch (io::error::missing_column_in_header const& error) {
    throw UnusableInput(
        fmt::format("{}: {}: expected this column, the header does not name it", Place(), error.column_name));
  } catch (io::error::duplicated_column_in_header const& error) {
    throw UnusableInput(
        fmt::format("{}: {}: expected this column once, the header names it again", Place(), error.column_name));
  } catch (io::error::header_missing const&) {
    throw UnusableInput(fmt::format("{}:1: expected a header that names the columns {}, {}, {} and {}, found nothing",
                                    mPath, columns[0], columns[1], columns[2], columns[3]));
  } catch (io::error::base const& error) {
    throw UnusableInput(fmt::format("{}: {}", Place(), error.what()));
  }
}

CsvFile::~CsvFile() = default;

bool CsvFile::Next() {
  try {
    return mReader->read_row(mFields[0], mFields[1], mFields[2], mFields[3]);
  } catch (io::error::too_few_columns const&) {
    throw UnusableInput(fmt::format("{}: expected as many fields as the header names, found fewer", Place()));
  } catch (io::error::too_many_columns const&) {
    throw UnusableInput(fmt::format("{}: expected as many fields as the header names, found more", Place()));
  } catch (io::error::base const& error) {
    throw UnusableInput(fmt::format("{}: {}", Place(), error.what()));
  }
}

std::uint64_t CsvFile::line() const { return mReader->get_file_line(); }

std::string CsvFile::Place() const { return fmt::format("{}:{}", mPath, line()); }

void CsvFile::Complain(std::size_t column, std::string const& expected) const {
  throw UnusableInput(
      fmt::format("{}: {}: expected {}, found '{}'", Place(), mColumns[column], expected, mFields[column]));
}

template <class Number>
Number CsvFile::Parse(std::size_t column, char const* expected) const {
  std::string_view const text = mFields[column];
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

std::int64_t CsvFile::Signed64(std::size_t column) const {
  return Parse<std::int64_t>(column, "a whole number of 64 bits");
}

float CsvFile::Finite(std::size_t column) const {
  constexpr char const* kExpected = "a decimal number";
  auto const number = Parse<float>(column, kExpected);
  if (!std::isfinite(number)) Complain(column, kExpected);
  return number;
}

}  // namespace hosting
