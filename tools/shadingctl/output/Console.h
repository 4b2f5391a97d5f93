// What the user sees: messages on standard error (results go elsewhere), and colours.
#pragma once

#include <string>
#include <string_view>

namespace shadingctl {

// Writes "shadingctl: MESSAGE" as a line, escaped. A failure to write is ignored.
void Tell(std::string const& message);

// Lines without the name before them, escaped: a summary, a complaint that begins with its file.
void TellPlainly(std::string_view text);

enum class Color { kAuto, kAlways, kNever };

// kAuto: on a terminal, unless the environment has a NO_COLOR that is not empty, or a TERM that is "dumb".
bool UsesColor(Color color, bool isTerminal);

constexpr char kGreen[] = "\033[32m";
constexpr char kYellow[] = "\033[33m";
constexpr char kRed[] = "\033[31m";
constexpr char kFaint[] = "\033[2m";
constexpr char kPlain[] = "\033[0m";

}  // namespace shadingctl
