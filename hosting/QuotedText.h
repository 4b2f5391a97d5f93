// Text that is not the program's own (of files, names, libraries), for people to read.
#pragma once

#include <string>
#include <string_view>

namespace hosting {

// The text for a terminal or a text file. Control characters, line feeds among them, characters that change the
// direction of text or are invisible, and bytes that are not UTF-8 are shown as "\x1b", "\n" or "\u202e".
std::string Escaped(std::string_view text);

// The same as a code span of Markdown, in which nothing is a link, HTML or the end of a cell; empty for an empty text.
std::string MarkdownCode(std::string_view text);

// The escaped text in quotes, long text shortened.
std::string Quoted(std::string_view text);

}  // namespace hosting
