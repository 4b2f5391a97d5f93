// Messages to the user, on standard error; results go elsewhere.
#pragma once

#include <string>
#include <string_view>

namespace shadingctl {

// Writes "shadingctl: MESSAGE" as a line, escaped. A failure to write is ignored.
void Tell(std::string const& message);

// Lines without the name before them, escaped: a summary, a complaint that begins with its file.
void TellPlainly(std::string_view text);

}  // namespace shadingctl
