// Opens a recording of any version.
#pragma once

#include <memory>
#include <string>

#include "recording/Session.h"

namespace recording {

// The session in this directory: of version 2 or, when the directory has no recording.csv that says so, of version 1.
// Throws UnusableInput when it cannot be read or is of another version.
std::unique_ptr<Session> OpenRecording(std::string const& directory);

// The directory of a recording given by its directory or by one of its files.
std::string RecordingDirectory(std::string const& name);

}  // namespace recording
