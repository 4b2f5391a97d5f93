// Text that is not the program's own (of files, names, libraries), for people to read.
#pragma once

#include <string>
#include <string_view>

namespace hosting {

// The text for a terminal or a text file. Control characters, line feeds among them, characters that change the
// direction of text or are invisible, and bytes that are not UTF-8 are shown as "\x1b", "\n" or "\u202e".
std::string Escaped(std::string_view text);

// As Escaped, but line feeds stay.
std::string EscapedLines(std::string_view text);

// The escaped text for a table of Markdown: as a code span where a part of it could be taken for markup, a link or
// HTML.
std::string Markdown(std::string_view text);

// The escaped text in quotes, long text shortened.
std::string Quoted(std::string_view text);

}  // namespace hosting
