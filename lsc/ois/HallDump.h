// Text files for tuning: the entries of a frame's span and what the caller gets.
#pragma once

#include <cstdint>
#include <vector>

#include "lsc/VeyraShadingUtil.h"
#include "lsc/ois/FrameTimes.h"
#include "lsc/ois/HallRun.h"

namespace lsc {

// Whether any dump is switched on.
inline bool HallDumpIsOn() { return g_preOisDump != 0 || g_capOisDump != 0; }

// Writes the frame's preview or capture dump, if the switch (g_preOisDump, g_capOisDump) for this kind of frame is on,
// to data/vendor/camera_dump/ below the working directory; docs/dump-file.md describes it. A directory that is missing
// is not made, and nothing that goes wrong is reported. An element that a vector does not have is written as 0.
void WriteHallDump(CustShadingType type, unsigned int frameId, int sensorId, FrameTimes const& times, HallRun span,
                   std::vector<double> const& outOisX, std::vector<double> const& outOisY);

}  // namespace lsc
