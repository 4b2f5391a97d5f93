// Messages to the user, on standard error; results go elsewhere.
#pragma once

#include <string>

namespace shadingctl {

// Writes "shadingctl: MESSAGE" as a line. A failure to write is ignored.
void Tell(std::string const& message);

// The same without the name before it: a summary, a complaint that begins with its file.
void TellPlainly(std::string const& text);

}  // namespace shadingctl
