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

struct LoadTrial {
  std::string problem;  // empty: createInstance has handed out its object
  std::string output;   // the beginning of what the library has written to the standard streams
};

// Loads the library on the played device and asks createInstance for its object, in a process of its own: one that
// crashes, hangs or ends its host does no harm. The process has a group of its own, which is killed with all that the
// library has started: at the end, after some seconds without an answer, and when a signal interrupts the wait. Call it
// before any thread is started. Throws Interrupted.
LoadTrial TryToLoad(std::string const& path);

}  // namespace hosting
