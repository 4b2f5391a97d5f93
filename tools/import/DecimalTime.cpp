#include "tools/import/DecimalTime.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <system_error>

namespace shadingctl {
namespace {

constexpr int kLargestExponent = 99;        // no time has more digits
constexpr std::ptrdiff_t kMostDigits = 19;  // of a 64-bit number of nanoseconds

std::optional<int> ParseExponent(std::string_view text) {
  bool const hasPlus = text.substr(0, 1) == "+";
  if (hasPlus) text.remove_prefix(1);
  int exponent = 0;
  auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), exponent);
  bool const isRead = error == std::errc{} && end == text.data() + text.size() && !(hasPlus && text.front() == '-');
  if (!isRead || exponent > kLargestExponent || exponent < -kLargestExponent) return std::nullopt;
  return exponent;
}

}  // namespace

char const* Name(TimeUnit unit) {
  auto const named = [unit](auto const& entry) { return entry.second == unit; };
  return std::find_if(kTimeUnits.begin(), kTimeUnits.end(), named)->first.c_str();
}

std::optional<std::int64_t> ParseTimeNs(std::string_view text, TimeUnit unit) {
  bool const isNegative = !text.empty() && text.front() == '-';
  if (isNegative) text.remove_prefix(1);
  std::size_t const mark = std::min(text.find_first_of("eE"), text.size());
  std::optional<int> const exponent = mark < text.size() ? ParseExponent(text.substr(mark + 1)) : 0;
  text = text.substr(0, mark);
  std::size_t const point = std::min(text.find('.'), text.size());
  std::string digits(text.substr(0, point));
  digits += text.substr(std::min(point + 1, text.size()));
  bool const isNumber = !digits.empty() && digits.find_first_not_of("0123456789") == std::string::npos;
  if (!exponent || !isNumber) return std::nullopt;

  // Where the digits of whole nanoseconds end.
  auto end = static_cast<std::ptrdiff_t>(point) + *exponent + static_cast<int>(unit);
  auto const zeros = static_cast<std::ptrdiff_t>(std::min(digits.find_first_not_of('0'), digits.size()));
  digits.erase(0, static_cast<std::size_t>(zeros));
  if (digits.empty()) return 0;
  end -= zeros;
  if (end > kMostDigits) return std::nullopt;
  auto const taken = static_cast<std::size_t>(std::max<std::ptrdiff_t>(end, 0));
  std::string const rest = taken < digits.size() ? digits.substr(taken) : std::string();
  digits.resize(taken, '0');
  bool const hasRest = rest.find_first_not_of('0') != std::string::npos;
  if (hasRest && unit == TimeUnit::kNanoseconds) return std::nullopt;

  std::uint64_t ns = 0;  // 19 digits always fit
  std::from_chars(digits.data(), digits.data() + digits.size(), ns);
  if (end >= 0 && !rest.empty() && rest.front() >= '5') ++ns;
  constexpr auto kMost = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
  if (ns > kMost + (isNegative ? 1 : 0)) return std::nullopt;
  return static_cast<std::int64_t>(isNegative ? 0 - ns : ns);
}

}  // namespace shadingctl
