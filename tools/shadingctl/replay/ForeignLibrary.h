// The library that a command plays to, whoever has built it.
#pragma once

#include <string>

class VeyraShadingUtil;

namespace shadingctl {

// Loads the library. One that is not the tool's own is loaded in a process of its own first, so that one that crashes,
// hangs or ends its host is refused; what it writes is told once, and nothing of it is in a result: open the outputs
// before. Configure the device first. Throws UnusableInput and Interrupted.
VeyraShadingUtil& LoadLibrary(std::string const& path);

}  // namespace shadingctl
