// Loads a shading library in a process of its own, so that a crash or a hang is reported like any other fault.
#pragma once

#include <string>

#include "tools/shadingctl/doctor/Diagnosis.h"

namespace shadingctl {

// Loads the library on the played device and asks createInstance for its object. Call it before any thread is started.
Finding TryToLoad(std::string const& path);

}  // namespace shadingctl
