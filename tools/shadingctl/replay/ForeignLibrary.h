// The library that a command plays to, whoever has built it.
#pragma once

#include <string>

class VeyraShadingUtil;

namespace shadingctl {

// Loads the library in a process of its own first, so that one that crashes, hangs or ends its host is refused, and
// then in this one. What it writes to standard output is told once and is in no result. Configure the device first.
// Throws UnusableInput and Interrupted.
VeyraShadingUtil& LoadForeignLibrary(std::string const& path);

}  // namespace shadingctl
