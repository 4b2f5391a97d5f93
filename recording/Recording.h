// Opens a recording of any version, and makes the text of one.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "recording/Session.h"

namespace recording {

// The session in this directory: of version 2 or, when the directory has no recording.csv that says so, of version 1.
// Throws UnusableInput when it cannot be read or is of another version.
std::unique_ptr<Session> OpenRecording(std::string const& directory);

// The session of version 1, and of version 2 with what was read of its recording.csv.
std::unique_ptr<Session> OpenFrameRecording(std::string const& directory);
std::unique_ptr<Session> OpenCallRecording(std::string const& directory, SessionSettings const& settings,
                                           Capture const& capture);

// The files of a recording, of either version.
constexpr std::array<char const*, 4> kRecordingFiles = {"recording.csv", "calls.csv", "frames.csv", "hall.csv"};

// The directory of a recording given by its directory or by one of its files.
std::string RecordingDirectory(std::string const& name);

// The name of a state in recording.csv, and the state of a name.
std::string_view NameOf(CaptureState state);
std::optional<CaptureState> CaptureStateOf(std::string_view name);

// What a capture lacks, in words about "it"; empty where it is complete.
std::string LackText(Capture const& capture);

// The text of a recording of version 2, piece by piece, for whoever writes one while it happens.

// The whole of recording.csv.
std::string SettingsText(SessionSettings const& settings);

// What recording.csv says of a capture besides: a text of the same size for every value, so that a full disk has room
// for it.
std::string CaptureText(Capture const& capture);

// The first lines of calls.csv and hall.csv.
std::string CallsHeader();
std::string SamplesHeader();

// One line of calls.csv. Calls are numbered from 1; a gap in the numbers means that calls are missing.
// An update states the size of its batch: `samples` where some of them were lost, else the samples that it holds.
void AppendCall(std::string& text, std::uint64_t number, Call const& call,
                std::optional<std::uint64_t> samples = std::nullopt);

// The lines of hall.csv for the batch of the update `number`. Positions are printed with enough digits to read back the
// same single-precision number. Requires: finite positions; a recording cannot hold others.
void AppendSamples(std::string& text, std::uint64_t number, std::vector<NSCam::Utils::SensorData> const& batch);

}  // namespace recording
