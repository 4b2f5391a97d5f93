#include "tools/import/DecimalTime.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <string>
#include <system_error>

namespace shadingctl {
namespace {

constexpr int kLargestExponent = 99;     // no time has more digits
constexpr std::size_t kMostDigits = 19;  // of a 64-bit number of nanoseconds

// A number without its sign: `digits` times ten to the power of `exponent`.
struct Decimal {
  std::string digits;
  int exponent = 0;
};

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

bool AreDigits(std::string_view text) { return std::all_of(text.begin(), text.end(), IsDigit); }

std::optional<int> ParseExponent(std::string_view text) {
  if (!text.empty() && text.front() == '+') {
    text.remove_prefix(1);
    if (!text.empty() && text.front() == '-') return std::nullopt;
  }
  int exponent = 0;
  auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), exponent);
  bool const isRead = error == std::errc{} && end == text.data() + text.size();
  if (!isRead || exponent > kLargestExponent || exponent < -kLargestExponent) return std::nullopt;
  return exponent;
}

std::optional<Decimal> ParseDecimal(std::string_view text) {
  Decimal decimal;
  std::size_t const mark = text.find_first_of("eE");
  if (mark != std::string_view::npos) {
    auto const exponent = ParseExponent(text.substr(mark + 1));
    if (!exponent) return std::nullopt;
    decimal.exponent = *exponent;
    text = text.substr(0, mark);
  }
  std::size_t const point = std::min(text.find('.'), text.size());
  std::string_view const whole = text.substr(0, point);
  std::string_view const fraction = text.substr(std::min(point + 1, text.size()));
  if (!AreDigits(whole) || !AreDigits(fraction) || whole.size() + fraction.size() == 0) return std::nullopt;
  decimal.digits.append(whole).append(fraction);
  decimal.exponent -= static_cast<int>(std::min<std::size_t>(fraction.size(), std::numeric_limits<int>::max() / 2));
  decimal.digits.erase(0, std::min(decimal.digits.find_first_not_of('0'), decimal.digits.size()));
  return decimal;
}

}  // namespace

char const* Name(TimeUnit unit) {
  switch (unit) {
    case TimeUnit::kSeconds:
      return "s";
    case TimeUnit::kMilliseconds:
      return "ms";
    case TimeUnit::kMicroseconds:
      return "us";
    case TimeUnit::kNanoseconds:
      return "ns";
  }
  return "";
}

std::optional<std::int64_t> ParseTimeNs(std::string_view text, TimeUnit unit) {
  bool const isNegative = !text.empty() && text.front() == '-';
  if (isNegative) text.remove_prefix(1);
  std::optional<Decimal> const decimal = ParseDecimal(text);
  if (!decimal) return std::nullopt;
  if (decimal->digits.empty()) return 0;

  // Where the digits of whole nanoseconds end.
  auto const size = static_cast<std::int64_t>(decimal->digits.size());
  std::int64_t const end = size + decimal->exponent + static_cast<int>(unit);
  if (end > static_cast<std::int64_t>(kMostDigits)) return std::nullopt;
  auto const taken = static_cast<std::size_t>(std::clamp(end, std::int64_t{0}, size));
  std::string whole = decimal->digits.substr(0, taken);
  if (end > size) whole.append(static_cast<std::size_t>(end - size), '0');
  std::string_view const rest = std::string_view(decimal->digits).substr(taken);
  bool const hasRest = rest.find_first_not_of('0') != std::string_view::npos;
  if (hasRest && unit == TimeUnit::kNanoseconds) return std::nullopt;

  std::uint64_t ns = 0;  // 19 digits always fit
  std::from_chars(whole.data(), whole.data() + whole.size(), ns);
  if (end >= 0 && !rest.empty() && rest.front() >= '5') ++ns;
  constexpr auto kMost = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
  if (ns > kMost) return std::nullopt;
  return isNegative ? -static_cast<std::int64_t>(ns) : static_cast<std::int64_t>(ns);
}

}  // namespace shadingctl
