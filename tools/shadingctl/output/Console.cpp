#include "tools/shadingctl/output/Console.h"

#include <cstdio>
#include <cstdlib>

#include "hosting/QuotedText.h"

namespace shadingctl {

void Tell(std::string const& message) { TellPlainly("shadingctl: " + hosting::Escaped(message) + "\n"); }

void TellPlainly(std::string_view text) {
  std::string const lines = hosting::EscapedLines(text);
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
