// Reading a whole file, a pipe or standard input through the C library's streams.
#pragma once

#include <cstdio>
#include <memory>
#include <string>

namespace recording {

using InputStream = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

// Opens a file for reading; "-" is standard input. Null, with errno set, when that fails. A wait for a pipe's writer
// can be interrupted: reading then fails, with InterruptedBy() saying so.
InputStream OpenInput(std::string const& path);

}  // namespace recording
