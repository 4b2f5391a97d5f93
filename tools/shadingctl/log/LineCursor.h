// Takes a line of a log apart from front to back.
#pragma once

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <system_error>
#include <type_traits>

namespace shadingctl {

// Each step answers whether it fitted; one that does not may have taken a part.
class LineCursor {
 public:
  explicit LineCursor(std::string_view text) : mText(text) {}

  std::string_view Rest() const { return mText; }

  bool SkipBlanks() {
    std::size_t const blanks = std::min(mText.find_first_not_of(' '), mText.size());
    mText.remove_prefix(blanks);
    return blanks > 0;
  }

  bool Skip(std::string_view text) {
    if (mText.compare(0, text.size(), text) != 0) return false;
    mText.remove_prefix(text.size());
    return true;
  }

  // A whole number, or one as "%f" prints it: one that was cut in its decimals does not fit, "inf" and "nan" do.
  template <class Number>
  bool Take(Number& number) {
    constexpr std::ptrdiff_t kPrintedDecimals = 6;
    char const* const begin = mText.data();
    std::from_chars_result read{};
    if constexpr (std::is_floating_point_v<Number>) {
      read = std::from_chars(begin, begin + mText.size(), number, std::chars_format::fixed);
      auto const* const point = std::find(begin, read.ptr, '.');
      if (std::isfinite(number) && read.ptr - point - 1 != kPrintedDecimals) return false;
    } else {
      read = std::from_chars(begin, begin + mText.size(), number);
    }
    if (read.ec != std::errc{}) return false;
    mText.remove_prefix(static_cast<std::size_t>(read.ptr - begin));
    return true;
  }

  // The text before `end`, which is passed over too.
  bool TakeUntil(std::string_view end, std::string_view& taken) {
    std::size_t const place = mText.find(end);
    if (place == std::string_view::npos) return false;
    taken = mText.substr(0, place);
    mText.remove_prefix(place + end.size());
    return true;
  }

  bool SkipPriority() {
    if (mText.empty() || kPriorities.find(mText.front()) == std::string_view::npos) return false;
    mText.remove_prefix(1);
    return true;
  }

  // ".678", in us; digits beyond those are passed over.
  bool TakeFraction(std::int64_t& us) {
    if (!Skip(".")) return false;
    std::size_t digits = 0;
    us = 0;
    for (; digits < mText.size() && mText[digits] >= '0' && mText[digits] <= '9'; ++digits) {
      if (digits < 6) us = us * 10 + (mText[digits] - '0');
    }
    for (std::size_t i = digits; i < 6; ++i) us *= 10;
    mText.remove_prefix(digits);
    return digits > 0;
  }

 private:
  static constexpr std::string_view kPriorities = "VDIWEFAS";

  std::string_view mText;
};

}  // namespace shadingctl
