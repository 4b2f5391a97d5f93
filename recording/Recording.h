// Opens a recording of any version.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "recording/Session.h"

namespace recording {

// The session in this directory: of version 2 or, when the directory has no recording.csv that says so, of version 1.
// Throws UnusableInput when it cannot be read or is of another version.
std::unique_ptr<Session> OpenRecording(std::string const& directory);

// Those of one version; the latter with what its recording.csv says.
std::unique_ptr<Session> OpenFrameRecording(std::string const& directory);
std::unique_ptr<Session> OpenCallRecording(std::string const& directory, SessionSettings const& settings,
                                           Capture const& capture);

// The directory of a recording given by its directory or by one of its files.
std::string RecordingDirectory(std::string const& name);

// As in recording.csv.
std::string_view NameOf(CaptureState state);
std::optional<CaptureState> CaptureStateOf(std::string_view name);

// What a capture lacks, in words about "it"; empty where it is complete.
std::string LackText(Capture const& capture);

}  // namespace recording
