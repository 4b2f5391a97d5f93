// Writes a session as a recording of version 2, in the format that docs/recording-format.md describes.
#pragma once

#include <string>

#include "recording/Session.h"
#include "tools/shadingctl/output/OutputFile.h"

namespace shadingctl {

// What was written.
struct RecordingSize {
  std::uint64_t calls = 0;
  std::uint64_t calculations = 0;
  std::uint64_t samples = 0;
};

// Writes DIRECTORY/recording.csv, calls.csv and hall.csv, makes the directory when it is missing, and says in `told`,
// which is finished with them, what was written. Throws UnusableInput when something cannot be written and, unless
// `overwrite` is set, when a recording of any version is there already, and Interrupted; the directory is then as it
// was. A recording of version 1 goes when it is overwritten.
RecordingSize WriteRecording(recording::Session& session, std::string const& directory, bool overwrite,
                             OutputFile& told);

}  // namespace shadingctl
