// The text of a recording of version 2, piece by piece: for whoever writes one while it happens.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "recording/Session.h"

namespace recording {

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
