// Numbers of the library that its hosts show, count by and compute with. The library decides by its own.
#pragma once

#include <cstddef>
#include <cstdint>

namespace hosting {

constexpr int kToleranceUs = 1500;  // between a sample and either end of a readout, exclusively

constexpr std::size_t kWindowSize = 100;  // samples that the library looks at, and the least that its history must hold

// Of them, those before and after the first one at or after the frame's timestamp, unless the history ends there.
constexpr int kSamplesBefore = 50;
constexpr int kSamplesAfter = 49;

// Two of the ways to make one position of a span's samples: their mean, and the one farthest from the origin.
constexpr int kModeMean = 1;
constexpr int kModeMaximum = 2;

// How much older than a frame's readout the samples are that the library takes for it: this share of the shorter one of
// exposure and readout, and a constant.
constexpr double kOffsetFactor = 0.5432;
constexpr int kOffsetConstantUs = 166;

constexpr std::uint64_t kHistoryFrames = 30;  // the history forgets all but the batches of so many frames

constexpr int kDetailLevel = 4;  // of logging, from which on the library tells samples and candidates

}  // namespace hosting
