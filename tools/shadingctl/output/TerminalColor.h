// Colours on a terminal.
#pragma once

namespace shadingctl {

enum class Color { kAuto, kAlways, kNever };

// kAuto: on a terminal, unless the environment has a NO_COLOR that is not empty, or a TERM that is "dumb".
bool UsesColor(Color color, bool isTerminal);

constexpr char kGreen[] = "\033[32m";
constexpr char kYellow[] = "\033[33m";
constexpr char kRed[] = "\033[31m";
constexpr char kFaint[] = "\033[2m";
constexpr char kPlain[] = "\033[0m";

}  // namespace shadingctl
