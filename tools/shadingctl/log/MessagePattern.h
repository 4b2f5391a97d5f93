// Reads a text by the pattern that wrote it.
#pragma once

#include <charconv>
#include <string_view>
#include <system_error>
#include <type_traits>

namespace shadingctl {

constexpr std::size_t kPrintedDecimals = 6;  // of "%f"

// Takes a whole number or a number with six decimals from the front of `text`. A number that was cut in its decimals is
// refused; "inf" and "nan" are numbers.
template <class Number>
bool TakeNumber(std::string_view& text, Number& number) {
  std::from_chars_result taken{};
  if constexpr (std::is_floating_point_v<Number>) {
    taken = std::from_chars(text.data(), text.data() + text.size(), number, std::chars_format::fixed);
  } else {
    taken = std::from_chars(text.data(), text.data() + text.size(), number);
  }
  if (taken.ec != std::errc{}) return false;
  std::string_view const digits = text.substr(0, static_cast<std::size_t>(taken.ptr - text.data()));
  if constexpr (std::is_floating_point_v<Number>) {
    std::size_t const point = digits.find('.');
    bool const isFinite = digits.find_first_of("ian") == std::string_view::npos;
    if (isFinite && (point == std::string_view::npos || digits.size() - point - 1 != kPrintedDecimals)) return false;
  }
  text.remove_prefix(digits.size());
  return true;
}

// Takes the literal text before the pattern's next "{}" off both, and the "{}" off the pattern.
inline bool TakeLiteral(std::string_view& text, std::string_view& pattern) {
  std::size_t const length = pattern.find("{}");
  if (length == std::string_view::npos || text.compare(0, length, pattern, 0, length) != 0) return false;
  text.remove_prefix(length);
  pattern.remove_prefix(length + 2);
  return true;
}

// Whether all of `text` is `pattern` with a number in place of each "{}"; fills `numbers` in order, as far as it fits.
template <class... Numbers>
bool MatchesPattern(std::string_view text, std::string_view pattern, Numbers&... numbers) {
  return ((TakeLiteral(text, pattern) && TakeNumber(text, numbers)) && ...) && text == pattern;
}

}  // namespace shadingctl
