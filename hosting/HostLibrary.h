// Loads the shading library as a camera process does.
#pragma once

#include <string>

class VeyraShadingUtil;

namespace hosting {

// libvcam_shadingutil.so in the directory of libraries (lib) beside the directory of the running program.
std::string DefaultLibraryPath();

// Loads the library at `path`, calls its createInstance and returns the object. The library reads its properties and
// its sensor map in this call, so configure the device first. The library stays loaded: its object lives until the
// process ends.
//
// Throws UnusableInput when the file is no whole library for this processor, cannot be loaded (with the loader's own
// words), has no createInstance, or hands out no object with a table of operations.
VeyraShadingUtil& LoadShadingLibrary(std::string const& path);

// The int variable of this name that the loaded library at `path` exports, such as gLogLevel; null when there is none.
int* FindSwitch(std::string const& path, char const* name);

}  // namespace hosting
