#include "recording/CsvFile.h"

#include <fmt/ranges.h>

#include <algorithm>
#include <cfloat>
#include <charconv>
#include <cmath>
#include <filesystem>
#include <limits>
#include <system_error>
#include <type_traits>

#include "hosting/QuotedText.h"

namespace recording {
namespace {

using std::string_view_literals::operator""sv;

constexpr std::size_t kUnwanted = SIZE_MAX;
constexpr std::string_view kBlanks = " \t";
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

bool IsBlank(char c) { return c == ' ' || c == '\t'; }

std::string_view Trimmed(std::string_view text) {
  while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
  while (!text.empty() && IsBlank(text.back())) text.remove_suffix(1);
  return text;
}

}  // namespace

CsvFile::CsvFile(InputFile file, std::vector<Column> columns, CsvDialect dialect)
    : mLines(std::move(file)), mColumns(std::move(columns)), mDialect(dialect), mFields(mColumns.size()) {
  std::string_view line;
  bool isThere = true;
  for (std::uint32_t i = 0; isThere && i < mDialect.linesBeforeHeader; ++i) isThere = mLines.Next(line);
  if (!isThere || !NextText(line)) {
    throw hosting::UnusableInput(fmt::format("{}:{}: expected a header that names the columns {}, found nothing",
                                             mLines.Name(), mDialect.linesBeforeHeader + 1, WantedNames()));
  }
  MatchColumns(line);
  if (!mLines.LineEnds() && mDialect.lastLine == LastLine::kMustEnd) RefuseCut();
}

// Throws UnusableInput: "FILE:LINE: TEXT".
template <class... Values>
void CsvFile::Fail(fmt::format_string<Values const&...> text, Values const&... values) const {
  throw hosting::UnusableInput(fmt::format("{}: {}", Place(), fmt::format(text, values...)));
}

void CsvFile::MatchColumns(std::string_view header) {
  std::string_view rest = header;
  for (bool isLast = false; !isLast;) {
    std::string_view const name = TakeField(rest, isLast);
    auto const named = [&](Column const& column) { return column.name == name; };
    auto const wanted = std::find_if(mColumns.begin(), mColumns.end(), named);
    auto const target = static_cast<std::size_t>(wanted - mColumns.begin());
    mTargets.push_back(wanted == mColumns.end() ? kUnwanted : target);
    if (wanted == mColumns.end()) {
      if (mUnwanted++ == 0) mFirstUnwanted = name;
      continue;
    }
    if (Names(target)) {
      Fail("{}: expected this column once, the header names it again: {}", name, hosting::Quoted(header));
    }
    mFields[target] = ""sv;
  }
  for (std::size_t i = 0; i < mColumns.size(); ++i) {
    if (mColumns[i].required && !Names(i)) RefuseHeader(header, mColumns[i].name);
  }
}

void CsvFile::RefuseHeader(std::string_view header, char const* missing) const {
  std::string const found = hosting::Quoted(header);
  if (mDialect.isForeign && header.front() == '#') {
    Fail(
        "expected a header that names the columns {}, found a comment: {}; --skip N passes over the N lines before the "
        "header",
        WantedNames(), found);
  }
  bool const isSplit = !mDialect.isForeign || header.find(mDialect.separator.character) != std::string_view::npos;
  for (Separator const& other : kSeparators) {
    if (isSplit || header.find(other.character) == std::string_view::npos) continue;
    Fail("expected a {} between the names of columns, found {}; --separator {} reads such files",
         mDialect.separator.name, found, other.name);
  }
  Fail("{}: expected this column, the header does not name it: {}", missing, found);
}

std::string CsvFile::WantedNames() const {
  std::vector<char const*> names;
  for (Column const& column : mColumns) {
    if (column.required) names.push_back(column.name);
  }
  std::string const last = names.back();
  names.pop_back();
  return names.empty() ? last : fmt::format("{} and {}", fmt::join(names, ", "), last);
}

bool CsvFile::NextText(std::string_view& line) {
  while (mLines.Next(line)) {
    bool const isMarked = mLines.Line() == 1 && line.substr(0, kByteOrderMark.size()) == kByteOrderMark;
    if (isMarked) line.remove_prefix(kByteOrderMark.size());
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    if (mDialect.separator.character == ' ') line = Trimmed(line);  // several blanks separate as one does
    if (line.find_first_not_of(kBlanks) == std::string_view::npos) continue;
    std::size_t const zero = line.find('\0');
    if (zero == std::string_view::npos) return true;
    throw hosting::UnusableInput(
        fmt::format("{}: expected text, found a zero byte at offset {}", mLines.Name(), mLines.Offset() + zero));
  }
  return false;
}

bool CsvFile::Next() {
  std::string_view rest;
  if (!NextText(rest)) return false;
  if (!mLines.LineEnds() && mDialect.lastLine != LastLine::kMayLackItsEnd) {
    if (mDialect.lastLine == LastLine::kMustEnd) RefuseCut();
    mSalvagedAt = Place();
    return false;
  }
  if (mDialect.isForeign && rest.front() == '#') {
    RefuseRow(fmt::format("expected values, found a comment: {}", hosting::Quoted(rest)));
  }
  mUnquoted.clear();
  bool isLast = false;
  for (std::size_t const target : mTargets) {
    if (isLast) RefuseRow("expected as many fields as the header names, found fewer");
    std::string_view const field = TakeField(rest, isLast);
    if (target != kUnwanted) mFields[target] = field;
  }
  if (!isLast) RefuseRow("expected as many fields as the header names, found more");
  ++mRows;
  return true;
}

// Takes a value with the separator behind it off the front of a line.
std::string_view CsvFile::TakeField(std::string_view& rest, bool& isLast) {
  char const separator = mDialect.separator.character;
  if (mDialect.isForeign) {
    while (!rest.empty() && IsBlank(rest.front()) && (rest.front() != separator || separator == ' ')) {
      rest.remove_prefix(1);
    }
    if (!rest.empty() && rest.front() == '"') return TakeQuoted(rest, isLast);
  }
  std::size_t end = 0;  // most values are too short for find to pay
  while (end < rest.size() && rest[end] != separator) ++end;
  isLast = end == rest.size();
  std::string_view const field = Trimmed(rest.substr(0, end));
  rest.remove_prefix(isLast ? rest.size() : end + 1);
  return field;
}

std::string_view CsvFile::TakeQuoted(std::string_view& rest, bool& isLast) {
  std::size_t close = 0;
  bool hasDoubled = false;
  for (;;) {
    close = rest.find('"', close + 1);
    if (close == std::string_view::npos) RefuseRow("expected a closing quote, found the end of the line");
    if (rest.substr(close + 1, 1) != "\"") break;
    hasDoubled = true;
    ++close;
  }
  std::string_view field = rest.substr(1, close - 1);
  rest.remove_prefix(close + 1);
  std::size_t const end = rest.find(mDialect.separator.character);
  isLast = end == std::string_view::npos;
  std::string_view const behind = Trimmed(rest.substr(0, end));
  if (!behind.empty()) {
    RefuseRow(fmt::format("expected the end of a value behind its closing quote, found {}", hosting::Quoted(behind)));
  }
  rest.remove_prefix(isLast ? rest.size() : end + 1);
  if (!hasDoubled) return field;
  std::string& text = mUnquoted.emplace_back();
  for (std::size_t i = 0; i < field.size(); ++i) {
    text += field[i];
    if (field[i] == '"') ++i;
  }
  return text;
}

std::string CsvFile::Place() const { return fmt::format("{}:{}", mLines.Name(), mLines.Line()); }

std::string CsvFile::SkippedText() const {
  if (mSkippedRows == 0) return {};
  return fmt::format("{}: lines that cannot be read, and are left out: {}; the first one is {}", mLines.Name(),
                     mSkippedRows, mFirstSkipped);
}

std::string CsvFile::Complaint(std::size_t column, std::string const& expected) const {
  return fmt::format("{}: expected {}, found {}", mColumns[column].name, expected, hosting::Quoted(mFields[column]));
}

void CsvFile::Complain(std::size_t column, std::string const& expected) const {
  Fail("{}", Complaint(column, expected));
}

void CsvFile::Refuse(std::size_t column, std::string const& expected) const { RefuseRow(Complaint(column, expected)); }

void CsvFile::RefuseRow(std::string const& complaint) const {
  throw UnreadableRow(fmt::format("{}: {}", Place(), complaint));
}

void CsvFile::Skip(UnreadableRow const& unreadable) {
  if (mDialect.isForeign && !mDialect.skipsBadRows) {
    throw UnreadableRow(fmt::format("{}; --skip-bad leaves such lines out", unreadable.what()));
  }
  if (!mDialect.skipsBadRows) throw UnreadableRow(unreadable);
  if (mSkippedRows++ == 0) mFirstSkipped = unreadable.what();
}

void CsvFile::RefuseCut() const {
  std::string const help =
      mDialect.isForeign ? fmt::format("; the {} lines of values before it are whole, and --salvage takes those", mRows)
                         : std::string();
  Fail("expected the end of a line, found the end of the file: it was cut{}", help);
}

std::string_view CsvFile::Text(std::size_t column) const {
  if (Names(column)) return mFields[column];
  Fail("{}: expected a value, the header does not name this column", mColumns[column].name);
}

template <class Number>
Number CsvFile::Get(std::size_t column) const {
  std::string_view text = Text(column);
  std::size_t const point = mDialect.isForeign ? text.find('.') : std::string_view::npos;
  bool const endsInZeros =
      point != std::string_view::npos && text.find_first_not_of('0', point + 1) == std::string_view::npos;
  if (endsInZeros) text = text.substr(0, point);
  Number number{};
  auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error == std::errc{} && end == text.data() + text.size()) return number;
  constexpr Number kMost = std::numeric_limits<Number>::max();
  Refuse(column, std::is_signed_v<Number> ? fmt::format("a whole number of {} bits", 8 * sizeof(Number))
                                          : fmt::format("a whole number from 0 to {}", kMost));
}

template std::uint32_t CsvFile::Get(std::size_t column) const;
template std::uint64_t CsvFile::Get(std::size_t column) const;
template std::int32_t CsvFile::Get(std::size_t column) const;
template std::int64_t CsvFile::Get(std::size_t column) const;

template <>
float CsvFile::Get(std::size_t column) const {
  std::string_view const text = Text(column);
  char const* const last = text.data() + text.size();
  float number = 0;
  auto const [end, error] = std::from_chars(text.data(), last, number);
  bool const isRead = error != std::errc::invalid_argument && end == last;
  if (!isRead || !std::isfinite(number)) Refuse(column, "a decimal number");
  if (error == std::errc{}) return number;
  double wide = 0;
  bool const isTiny = std::from_chars(text.data(), last, wide).ec == std::errc{} && std::abs(wide) < 1;
  if (!isTiny) Refuse(column, fmt::format("a number that single precision holds, at most {:.8g}", FLT_MAX));
  return 0;
}

template <>
bool CsvFile::Get(std::size_t column) const {
  std::string_view const text = Text(column);
  if (text != "0" && text != "1") Refuse(column, "0 or 1");
  return text == "1";
}

std::optional<std::uint64_t> CountLines(std::string const& path, std::string_view text) {
  std::error_code error;
  if (!std::filesystem::is_regular_file(path, error)) return std::nullopt;
  LineReader lines(path);
  std::uint64_t count = 0;
  for (std::string_view line; lines.Next(line);) {
    if (line.find(text) != std::string_view::npos) ++count;
  }
  return count;
}

}  // namespace recording
