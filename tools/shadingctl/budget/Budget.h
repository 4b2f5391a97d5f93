// Whether sample rate, frame rate, exposure and readout fit together. docs/timing.md explains every figure.
#pragma once

#include <array>
#include <cstdint>
#include <optional>

#include "tools/shadingctl/budget/PhaseOutcome.h"

namespace shadingctl {

// Limits of one setting, the others unchanged, within which every frame matches. nullopt: no such limit.
struct Limits {
  std::optional<std::int64_t> longestExposureNs;  // the start of the search interval lies in the window
  std::optional<double> lowestToleranceHz;        // of samples: one is near every start
  std::optional<double> lowestHistoryHz;          // the history holds enough of them
  std::optional<double> lowestSpanHz;             // a short search interval has two of them
  std::optional<double> highestStartHz;           // the start of the search interval lies in the window
  std::optional<double> highestEndHz;             // the end does
};

// The ratio of frame rate and sample rate lets only a few phases occur, the same ones during the whole session.
struct Lock {
  std::int64_t phases = 0;
  double lowestMatch = 0;  // share of the frames that match at the worst phases
  double highestMatch = 0;
};

struct Budget {
  Timing timing;
  std::int64_t reachBackNs = 0;                 // the look-back
  std::optional<std::int64_t> windowBackNs;     // from the window's first entry to the timestamp, at the worst phase
  std::optional<std::int64_t> windowAheadNs;    // from the timestamp to the window's last entry, at the worst phase
  std::int64_t fewestSamples = 0;               // in the history
  std::array<double, kObstacleCount> shares{};  // of the phases
  double bothEndsNear = 0;                      // share of the phases
  std::optional<double> worstCoverage;          // of the phases that match
  std::optional<double> medianCoverage;
  std::optional<Lock> lock;
  Limits limits;

  double ShareOf(Obstacle obstacle) const { return shares[static_cast<std::size_t>(obstacle)]; }
  double Matched() const { return ShareOf(Obstacle::kNone); }
};

Budget MakeBudget(Timing const& timing);

}  // namespace shadingctl
