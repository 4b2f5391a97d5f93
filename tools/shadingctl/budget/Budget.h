// Whether sample rate, frame rate, exposure and readout fit together. docs/timing.md explains every figure, and has the
// formulas.
//
// Samples are one hall interval apart and frames one frame interval. Frames then differ only by their phase: the time
// from the frame's timestamp to the first sample at or after it.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tools/shadingctl/output/Json.h"

namespace shadingctl {

constexpr std::int64_t kMicrosecondNs = 1000;  // the library truncates times to it

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

// The phase may be from 0 to the hall interval, exclusively.
PhaseOutcome OutcomeAt(Timing const& timing, std::int64_t phaseNs);

// A range of phases with one outcome.
struct PhaseRange {
  std::int64_t beginNs = 0;
  std::int64_t endNs = 0;  // the next range's begin, or the hall interval
  PhaseOutcome outcome;
};

// All phases, in order: the outcome changes at five of them at most.
std::vector<PhaseRange> OutcomesOfAllPhases(Timing const& timing);

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
  std::int64_t reachBackNs = 0;  // how long before the timestamp samples at the start of the search interval are taken
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

// The document of `shadingctl budget`, from which the other formats are made: its member "budgets" has an object for
// each, with numbers and nulls only. They are the rows of CSV.
Json BudgetsJson(std::vector<Budget> const& budgets);

std::string BudgetsTable(Json const& document);

// One budget in words, with its limits. Requires: the document has one.
std::string BudgetText(Json const& document);

}  // namespace shadingctl
