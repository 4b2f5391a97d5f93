// What a fit says of the library's numbers on this phone, and what its difference from them means. docs/bench.md
// derives the causes.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "tools/shadingctl/fit/LagFit.h"

namespace shadingctl {

// The lag of a frame is slope * min(exposure, readout), or slope * exposure, + intercept + drift.
enum Quantity : std::size_t {
  kLagUs,  // mean of all frames
  kLagSlope,
  kLagInterceptUs,
  kGain,           // per unit of the driving axis; negative: mirrored
  kCrossTalk,      // gain of the other axis, as a share of `kGain`
  kGainCurvature,  // share of the gain by which it grows over an RMS of the motion
  kImageTrend,     // from the first frame to the last, in units of the reference
  kTrendBend,      // by how much the trend's ends stand above its middle
  kDriftPpm,       // of the lag with time
  kResidual,       // RMS without outliers, in units of the reference
  kResidualShare,  // of the image's motion
  kCorrelation,    // of the errors of neighbouring frames
  kQuantities
};

struct Estimate {
  double value = 0;
  std::optional<double> half = std::nullopt;  // of the width of the 95 % interval around it
};

// nullopt where the frames cannot tell it. Those from kResidual on have no interval.
std::optional<Estimate> EstimateOf(ReferenceFit const& fit, std::size_t axis, Quantity quantity);

// "agrees", "differs" or "cannot_tell".
std::string VerdictOf(ReferenceFit const& fit);

// What it rests on, in words.
std::string ReasonOf(ReferenceFit const& fit);

struct Cause {
  char const* code;
  std::string text;  // what it means, and what to change
};

// Causes that look alike in this recording stand side by side. None where slope and drift cannot be told apart.
std::vector<Cause> DiagnosisOf(ReferenceFit const& fit);

}  // namespace shadingctl
