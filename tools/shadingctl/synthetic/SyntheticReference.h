// What pictures of a fixed target would show of a synthetic session.
#pragma once

#include <string>

#include "tools/shadingctl/synthetic/SyntheticOptions.h"

namespace shadingctl {

// Writes `path`, with the columns frame, x, y: where the image of the target stands in each frame of the first camera.
// It follows the lens itself, not what the samples say of it: their noise, their clock and what of them is lost changes
// nothing. The samples that explain an image are older than its readout by the library's numbers; the position is the
// mean over the readout that the host told the library, with the times of pair 0. Frames whose readout begins before
// the first sample are left out. Throws UnusableInput and Interrupted; the file is then as it was.
void WriteReference(SyntheticOptions const& options, std::string const& path);

}  // namespace shadingctl
