// Loads a shading library in a process of its own, where one that crashes, hangs or ends its host does no harm.
#pragma once

#include <string>

namespace hosting {

struct LoadTrial {
  std::string problem;  // empty: createInstance has handed out its object
  std::string output;   // the beginning of what the library has written to the standard streams
};

// Loads the library on the played device and asks createInstance for its object. The process has a group of its own,
// which is killed with all that the library has started: at the end, after some seconds without an answer, and when a
// signal interrupts the wait. Call it before any thread is started. Throws Interrupted.
LoadTrial TryToLoad(std::string const& path);

}  // namespace hosting
