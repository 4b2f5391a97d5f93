#include "hosting/QuotedText.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <utility>

namespace hosting {
namespace {

// The bytes of the UTF-8 character that the text begins with; 0 when it begins with none.
std::size_t LengthOf(std::string_view text, std::uint32_t& character) {
  auto const first = static_cast<unsigned char>(text.front());
  constexpr std::size_t kLengths[] = {1, 1, 1, 1, 1, 1, 1, 1, 0, 0, 0, 0, 2, 2, 3, 4};  // by the first four bits
  std::size_t const length = first < 0xF5 ? kLengths[first >> 4U] : 0;
  if (length == 0 || length > text.size()) return 0;
  character = length == 1 ? first : first & (0x7FU >> length);
  for (std::size_t i = 1; i < length; ++i) {
    auto const byte = static_cast<unsigned char>(text[i]);
    if ((byte & 0xC0U) != 0x80) return 0;
    character = character << 6U | (byte & 0x3FU);
  }
  constexpr std::uint32_t kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
  bool const isSurrogate = character >= 0xD800 && character < 0xE000;
  return character < kLeast[length] || character > 0x10FFFF || isSurrogate ? 0 : length;
}

bool IsShown(std::uint32_t character) {
  constexpr std::pair<std::uint32_t, std::uint32_t> kHidden[] = {
      {0, 0x1F},        {0x7F, 0x9F},     {0xAD, 0xAD},     {0x61C, 0x61C},   {0x180E, 0x180E},
      {0x200B, 0x200F}, {0x2028, 0x202E}, {0x2060, 0x206F}, {0xFEFF, 0xFEFF}, {0xE0000, 0xE007F}};
  return std::none_of(std::begin(kHidden), std::end(kHidden),
                      [=](auto const& range) { return character >= range.first && character <= range.second; });
}

std::string Escape(std::string_view text, bool keepsLines) {
  std::string escaped;
  while (!text.empty()) {
    std::uint32_t character = 0;
    std::size_t const length = LengthOf(text, character);
    if ((length > 0 && IsShown(character)) || (keepsLines && text.front() == '\n')) {
      escaped += text.substr(0, length);
    } else if (text.front() == '\n' || text.front() == '\t') {
      escaped += text.front() == '\n' ? "\\n" : "\\t";
    } else if (length > 1) {
      escaped += fmt::format("\\u{:04x}", character);
    } else {
      escaped += fmt::format("\\x{:02x}", static_cast<unsigned char>(text.front()));
    }
    text.remove_prefix(std::max<std::size_t>(length, 1));
  }
  return escaped;
}

}  // namespace

std::string Escaped(std::string_view text) { return Escape(text, false); }

std::string EscapedLines(std::string_view text) { return Escape(text, true); }

std::string Markdown(std::string_view text) {
  std::string const escaped = Escaped(text);
  bool const isPlain = escaped.find_first_of("`|<>[]*~&\\@") == std::string::npos &&
                       escaped.find("://") == std::string::npos && escaped.find("www.") == std::string::npos;
  if (isPlain) return escaped;
  std::string code = "`";
  for (char const c : escaped) code += c == '`' ? "\\x60" : c == '|' ? "\\x7c" : std::string(1, c);
  return code + "`";
}

std::string Quoted(std::string_view text) {
  constexpr std::size_t kShownBytes = 60;
  return "'" + Escaped(text.substr(0, kShownBytes)) + (text.size() > kShownBytes ? "...'" : "'");
}

}  // namespace hosting
