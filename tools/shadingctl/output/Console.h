// What the tool says to its user beside its results, on standard error.
#pragma once

#include <string>

namespace shadingctl {

// Writes "shadingctl: MESSAGE" in a line of its own. A standard error that takes nothing ends no command.
void Tell(std::string const& message);

// The same without the name before it: a summary, a complaint that begins with its file.
void TellPlainly(std::string const& text);

}  // namespace shadingctl
