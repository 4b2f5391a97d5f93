// Writes a session as a recording, in the format that docs/recording-format.md describes.
#pragma once

#include <string>

#include "hosting/Session.h"

namespace shadingctl {

// What was written.
struct RecordingSize {
  std::uint64_t frames = 0;
  std::uint64_t samples = 0;
};

// Writes DIRECTORY/frames.csv and DIRECTORY/hall.csv and makes the directory when it is missing. Positions are written
// with six decimals, which is exact for a session whose positions are multiples of 1/1000000. Throws UnusableInput when
// something cannot be written and, unless `overwrite` is set, when either file is there already, and Interrupted; both
// files and the directory are then as they were.
RecordingSize WriteRecording(hosting::Session& session, std::string const& directory, bool overwrite);

}  // namespace shadingctl
