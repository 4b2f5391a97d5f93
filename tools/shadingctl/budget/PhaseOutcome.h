// The outcome of a frame when samples and frames are evenly spaced. docs/timing.md has the formulas.
//
// Samples are one hall interval apart and frames one frame interval. Frames then differ only by their phase: the time
// from the frame's timestamp to the first sample at or after it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "hosting/LibraryNumbers.h"

namespace shadingctl {

// Constants of the library, signed, in ns.
constexpr std::int64_t kMicrosecondNs = 1000;  // times are truncated to it
constexpr std::int64_t kKeptFrames = hosting::kHistoryFrames;
constexpr std::int64_t kWindow = hosting::kWindowSize;
constexpr std::int64_t kBefore = hosting::kSamplesBefore;  // samples of the window before the timestamp
using hosting::kOffsetFactor;
constexpr std::int64_t kOffsetConstantNs = hosting::kOffsetConstantUs * kMicrosecondNs;
constexpr std::int64_t kToleranceNs = hosting::kToleranceUs * kMicrosecondNs;

// All in ns; intervals are above 0.
struct Timing {
  std::int64_t hallIntervalNs = 0;
  std::int64_t frameIntervalNs = 0;
  std::int64_t exposureNs = 0;
  std::int64_t readoutNs = 0;
  std::int64_t deliveryDelayNs = 0;  // from the end of the readout to the frame's update
};

// Why a frame has no position of its own.
enum class Obstacle {
  kNone,
  kHistory,       // the history does not hold enough samples
  kNothingAfter,  // no sample at or after the timestamp has come
  kReach,         // the start of the search interval lies before the window
  kTolerance,     // no sample is near the start of the search interval
  kSingle,        // the span has one entry
};
constexpr std::size_t kObstacleCount = 6;

struct PhaseOutcome {
  Obstacle obstacle = Obstacle::kNone;
  std::int64_t first = 0;  // entries of the window, where there is a start
  std::int64_t last = 0;
  bool endIsNear = false;
  double coverage = 0;  // share of the search interval that the span covers; 1 without a readout
};

// The look-back: how long before the timestamp the samples at the start of the search interval are taken.
std::int64_t ReachBackNs(std::int64_t exposureNs, std::int64_t readoutNs);

// The phase may be from 0 to the hall interval, exclusively.
PhaseOutcome OutcomeAt(Timing const& timing, std::int64_t phaseNs);

// A range of phases with one outcome.
struct PhaseRange {
  std::int64_t beginNs = 0;  // the end is the next range's begin, or the hall interval
  std::int64_t endNs = 0;
  PhaseOutcome outcome;
};

// All phases, in order: the outcome changes at five of them at most.
std::vector<PhaseRange> OutcomesOfAllPhases(Timing const& timing);

// The history at a phase: indices of its oldest and newest sample; index 0 is the first sample at or after the frame's
// timestamp.
struct History {
  std::int64_t oldest = 0;
  std::int64_t newest = 0;
  std::int64_t Count() const { return newest - oldest + 1; }
  // The window of 100 samples in it. Requires: Count() >= 100 and newest >= 0.
  std::int64_t WindowBegin() const;
};
History HistoryAt(Timing const& timing, std::int64_t phaseNs);

}  // namespace shadingctl
