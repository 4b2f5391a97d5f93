#include "tools/shadingctl/result/ResultCsv.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <string_view>
#include <system_error>
#include <vector>

#include "hosting/Interruption.h"
#include "hosting/UnusableInput.h"

namespace shadingctl {
namespace {

using Json = nlohmann::ordered_json;

constexpr char const* kWholeNumbers[] = {"frame", "timestamp_ns"};  // that every row has

class Lines {
 public:
  Lines(std::FILE* file, std::string const& name) : mFile(file), mName(name) {}
  ~Lines() { std::free(mBuffer); }
  Lines(Lines const&) = delete;
  Lines& operator=(Lines const&) = delete;

  // The fields of the next line that is not empty; false at the end.
  bool Next(std::vector<std::string_view>& fields) {
    for (;;) {
      ssize_t const length = getline(&mBuffer, &mCapacity, mFile);
      // An interruption may leave the beginning of a line.
      if (std::ferror(mFile) != 0 && hosting::InterruptedBy() != 0) throw hosting::Interrupted();
      if (length < 0) return false;
      ++mNumber;
      std::string_view line(mBuffer, static_cast<std::size_t>(length));
      while (!line.empty() && (line.back() == '\n' || line.back() == '\r')) line.remove_suffix(1);
      if (line.empty()) continue;
      fields.clear();
      for (std::size_t comma = 0; (comma = line.find(',')) != std::string_view::npos;) {
        fields.push_back(line.substr(0, comma));
        line.remove_prefix(comma + 1);
      }
      fields.push_back(line);
      return true;
    }
  }

  [[noreturn]] void Refuse(std::string const& expected, std::string const& found) const {
    throw hosting::UnusableInput(
        fmt::format("{}:{}: expected {}, found {}", mName, std::max<std::uint64_t>(mNumber, 1), expected, found));
  }
  [[noreturn]] void RefuseValue(std::string const& column, std::string const& expected, std::string_view found) const {
    throw hosting::UnusableInput(
        fmt::format("{}:{}: {}: expected {}, found '{}'", mName, mNumber, column, expected, found));
  }

 private:
  std::FILE* mFile;
  std::string const& mName;
  char* mBuffer = nullptr;
  std::size_t mCapacity = 0;
  std::uint64_t mNumber = 0;
};

template <class Number>
bool Parse(std::string_view text, Number& number) {
  auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc{} && end == text.data() + text.size();
}

// Numbers that are not finite are null, as JSON has none.
Json ValueOf(std::string_view text) {
  std::uint64_t natural = 0;
  std::int64_t whole = 0;
  double number = 0;
  if (text.empty()) return nullptr;
  if (Parse(text, natural)) return natural;
  if (Parse(text, whole)) return whole;
  if (!Parse(text, number)) return std::string(text);
  return std::isfinite(number) ? Json(number) : Json(nullptr);
}

}  // namespace

void ReadResultCsv(std::FILE* file, std::string const& name, TakeRow const& takeRow) {
  Lines lines(file, name);
  std::vector<std::string_view> fields;
  if (!lines.Next(fields)) lines.Refuse("a replay's result, JSON or CSV", "nothing");
  std::vector<std::string> const columns(fields.begin(), fields.end());
  for (char const* const column : kWholeNumbers) {
    if (std::find(columns.begin(), columns.end(), column) == columns.end()) {
      lines.Refuse(fmt::format("a replay's result, JSON or CSV with the columns {}", fmt::join(kWholeNumbers, " and ")),
                   fmt::format("'{}'", fields.front().substr(0, 60)));
    }
  }
  while (lines.Next(fields)) {
    if (fields.size() != columns.size()) {
      lines.Refuse(fmt::format("{} values", columns.size()), std::to_string(fields.size()));
    }
    Json row = Json::object();
    for (std::size_t i = 0; i < columns.size(); ++i) {
      row[columns[i]] = ValueOf(fields[i]);
      bool const isWhole = std::count(std::begin(kWholeNumbers), std::end(kWholeNumbers), columns[i]) > 0;
      if (isWhole && !row[columns[i]].is_number_unsigned()) lines.RefuseValue(columns[i], "a whole number", fields[i]);
    }
    takeRow(row);
  }
}

}  // namespace shadingctl
