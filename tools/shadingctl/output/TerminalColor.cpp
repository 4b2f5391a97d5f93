#include "tools/shadingctl/output/TerminalColor.h"

#include <cstdlib>
#include <string_view>

namespace shadingctl {

bool UsesColor(Color color, bool isTerminal) {
  if (color != Color::kAuto) return color == Color::kAlways;
  char const* const noColor = std::getenv("NO_COLOR");
  char const* const terminal = std::getenv("TERM");
  bool const isUnwanted =
      (noColor != nullptr && *noColor != '\0') || (terminal != nullptr && std::string_view(terminal) == "dumb");
  return isTerminal && !isUnwanted;
}

}  // namespace shadingctl
