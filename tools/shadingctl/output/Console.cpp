#include "tools/shadingctl/output/Console.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "hosting/QuotedText.h"

namespace shadingctl {

void Tell(std::string const& message) { TellPlainly("shadingctl: " + hosting::Escaped(message) + "\n"); }

void TellPlainly(std::string_view text) {
  std::string lines;
  while (!text.empty()) {
    std::size_t const end = std::min(text.find('\n'), text.size());
    lines += hosting::Escaped(text.substr(0, end));
    if (end < text.size()) lines += '\n';
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  std::fwrite(lines.data(), 1, lines.size(), stderr);
  std::fflush(stderr);
}

bool UsesColor(Color color, bool isTerminal) {
  if (color != Color::kAuto) return color == Color::kAlways;
  char const* const noColor = std::getenv("NO_COLOR");
  char const* const terminal = std::getenv("TERM");
  bool const isUnwanted =
      (noColor != nullptr && *noColor != '\0') || (terminal != nullptr && std::string_view(terminal) == "dumb");
  return isTerminal && !isUnwanted;
}

}  // namespace shadingctl
