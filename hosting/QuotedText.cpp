#include "hosting/QuotedText.h"

#include <fmt/format.h>

namespace hosting {

std::string Quoted(std::string_view text) {
  constexpr std::size_t kShown = 60;
  std::string quoted = "'";
  for (char const c : text.substr(0, kShown)) {
    auto const byte = static_cast<unsigned char>(c);
    quoted += c == '\t' ? "\\t" : byte < 0x20 || byte >= 0x7F ? fmt::format("\\x{:02x}", byte) : std::string(1, c);
  }
  return quoted + (text.size() > kShown ? "...'" : "'");
}

}  // namespace hosting
