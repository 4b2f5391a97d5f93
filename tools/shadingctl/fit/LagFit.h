// Fits where an image stood to where the lens stood: by which lag the samples that show the lens of a frame were taken
// before its search interval, what that says of the library's numbers on this phone, and what a difference from them
// means. docs/bench.md explains the quantities and derives the causes.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "tools/shadingctl/fit/ImageAxis.h"

namespace shadingctl {

struct FitOptions {
  double searchUs = 40000;  // lags from minus to plus this, and two frame intervals further
};

// Of a refusal, or of a difference from the library's numbers.
struct Cause {
  char const* code;
  std::string text;  // what it means, and what to change
};

enum class LagFollows { kCannotTell, kShorter, kExposure };  // min(exposure, readout), or the exposure

// The residuals of x and of y at a lag, as shares of the image's motion.
struct SearchedLag {
  double lagUs = 0;
  std::array<double, 2> share{};
};

struct ReferenceFit {
  FrameWindows windows;     // the frames that were used
  std::size_t leftOut = 0;  // without samples all around their search interval
  std::size_t clipped = 0;  // left out as well: the samples touch an end of their range
  double frameIntervalUs = 0;
  double readoutUs = 0;          // median
  std::optional<Cause> refused;  // then no estimate has an interval
  bool hasLag = false;           // a best lag was found, if only to be refused
  BothAxes axes;                 // x and y
  LagFollows follows = LagFollows::kCannotTell;
  double probability = 1;  // of differences from the library's numbers at least as large, if the numbers hold
  std::array<Difference, 2> differences;
  std::vector<SearchedLag> search;  // in the order of the lags, all by ImageAxis::TryLag
};

// Deterministic: the same input gives the same fit.
ReferenceFit FitReference(std::vector<HallSample> const& samples, std::vector<ReferenceFrame> const& frames,
                          FitOptions const& options);

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

// What the verdict rests on, in words.
std::string ReasonOf(ReferenceFit const& fit);

// Causes that look alike in this recording stand side by side. None where slope and drift cannot be told apart.
std::vector<Cause> DiagnosisOf(ReferenceFit const& fit);

}  // namespace shadingctl
