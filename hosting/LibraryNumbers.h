// Numbers of the library that its hosts show and compute with. The library has its own; these decide nothing in it.
#pragma once

#include <cstddef>
#include <cstdint>

namespace hosting {

constexpr int kToleranceUs = 1500;  // an entry this close to an end of the search interval, exclusively, is near it

constexpr std::size_t kWindowSize = 100;  // samples that the library looks at, and the least that its history must hold

// Samples of the window before and after the first one at or after the frame's timestamp, unless the history ends
// there.
constexpr int kSamplesBefore = 50;
constexpr int kSamplesAfter = 49;

// Two of the ways to reduce a span to one position: the mean, and the maximum of each axis, signed.
constexpr int kModeMean = 1;
constexpr int kModeMaximum = 2;

// The lag, in us: this share of the shorter one of exposure and readout time, and a constant. Empirical.
constexpr double kOffsetFactor = 0.5432;
constexpr int kOffsetConstantUs = 166;

constexpr std::uint64_t kHistoryFrames = 30;  // whose batches the history holds

constexpr int kDetailLevel = 4;  // log level from which on the library tells samples and candidates

}  // namespace hosting
