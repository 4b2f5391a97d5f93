// Text from a file, for a message.
#pragma once

#include <string>
#include <string_view>

namespace hosting {

// Quotes the text: control characters are escaped, so that a terminal does not act on them, and long text is shortened.
std::string Quoted(std::string_view text);

}  // namespace hosting
