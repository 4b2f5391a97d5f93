// Text from a file, for a message.
#pragma once

#include <string>
#include <string_view>

namespace hosting {

// The text between quotes, without bytes that a terminal would act on, and not too much of it.
std::string Quoted(std::string_view text);

}  // namespace hosting
