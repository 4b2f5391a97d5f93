// The text of a recording of version 2, piece by piece: for whoever writes one while it happens.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "hosting/Session.h"

namespace hosting {

// The whole of recording.csv.
std::string SettingsText(Settings const& settings);

// The first lines of calls.csv and hall.csv.
std::string CallsHeader();
std::string SamplesHeader();

// One line of calls.csv. Numbers count the host's calls from 1 on; one that is left out tells that a call is missing.
// An update says how many samples its batch has: `samples`, where some of them were lost, else all that it holds.
void AppendCall(std::string& text, std::uint64_t number, Call const& call,
                std::optional<std::uint64_t> samples = std::nullopt);

// The lines of hall.csv for the batch of the update `number`. Positions have as many digits as tell them from every
// other single-precision number. Requires: finite positions, which is all that a recording can hold.
void AppendSamples(std::string& text, std::uint64_t number, std::vector<NSCam::Utils::SensorData> const& batch);

}  // namespace hosting
