// Text files for tuning: the entries of a frame's span and the position that the caller receives.
#pragma once

#include <cstdint>
#include <vector>

#include "lsc/FrameInput.h"
#include "lsc/Globals.h"
#include "lsc/ois/FrameTimes.h"
#include "lsc/ois/HallRun.h"

namespace lsc {

// Whether any dump is switched on.
inline bool HallDumpIsOn() { return g_preOisDump != 0 || g_capOisDump != 0; }

// Writes the frame's preview or capture dump, if the switch for this kind of frame (g_preOisDump, g_capOisDump) is on,
// to data/vendor/camera_dump/ below the working directory, in the format of docs/dump-file.md. A missing directory is
// not created, and failures are not reported. An element that a vector does not have is written as 0.
void WriteHallDump(CustShadingType type, unsigned int frameId, int sensorId, FrameTimes const& times, HallRun span,
                   std::vector<double> const& outOisX, std::vector<double> const& outOisY) noexcept;

}  // namespace lsc
