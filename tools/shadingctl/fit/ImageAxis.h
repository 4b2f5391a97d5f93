// One axis of the image as a function of where the lens stood in each frame, the least squares of which each step of
// its fit is made, and the fit that outliers do not bend.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "tools/shadingctl/fit/HallSignal.h"

namespace shadingctl {

// A step that needs fewer parameters takes the first ones, so the slope comes last: it can be left out.
enum Parameter : std::size_t {
  kOffset,
  kTrend,  // of the image over time, and over time squared
  kBend,
  kGainX,  // image per unit of the samples
  kGainY,
  kCurvature,  // of the image over the squared motion that the gains give it
  kLag,        // mean of all frames, us
  kDrift,      // of the lag over time, us
  kSlope,      // of the lag over the exposure
  kParameters
};
using Parameters = std::array<double, kParameters>;

double Dot(Parameters const& one, Parameters const& other);
Parameters Only(Parameter parameter, double value = 1);

// Sums over the equations of a least-squares problem in its first `count` parameters.
struct Moments {
  std::size_t count;
  std::array<Parameters, kParameters> matrix{};  // the lower half
  Parameters right{};

  void Add(Parameters const& row, double value, double weight);

  // The solution, in which the other parameters are 0; nullopt when the equations do not tell the first ones apart.
  std::optional<Parameters> Solve() const;
};

double MeanSquare(std::vector<double> const& values);

// Whether y of the samples moves this axis of the image more than x does.
inline bool IsDrivenByY(Parameters const& at) { return std::abs(at[kGainY]) > std::abs(at[kGainX]); }

struct ReferenceFrame {
  std::uint32_t frame = 0;
  std::int64_t startOfFrameNs = 0;  // timestamp less exposure
  double exposureUs = 0;
  double readoutUs = 0;
  std::array<double, 2> position{};  // x and y, where the image stood
};

// A frame and its search interval with a lag of 0, on the clock of the hall signal.
struct FrameWindow : ReferenceFrame {
  double startUs = 0;
  double endUs = 0;

  // Relative to the means of all frames.
  double time = 0;       // grows by 2 from the first frame to the last
  double slopeByUs = 0;  // what the slope of the lag multiplies

  double ShorterUs() const { return std::min(exposureUs, endUs - startUs); }
  double LagUs(Parameters const& at) const { return at[kLag] + at[kDrift] * time + at[kSlope] * slopeByUs; }
};

enum class SlopeState {
  kFitted,
  kOneExposure,  // the frames vary too little
  kFollowsTime,  // the exposure rises or falls with time: slope and drift look alike
};

struct FrameWindows {
  std::vector<FrameWindow> list;
  double shorterUs = 0;  // mean of min(exposure, readout)
  double slopeByUs = 0;  // mean
  double spanUs = 0;     // from the first frame to the last
  SlopeState slope = SlopeState::kOneExposure;
  std::size_t parameters = kSlope;  // that can be fitted: with the slope, unless it and the drift look the same

  // The slope of the lag multiplies the exposure, or min(exposure, readout).
  explicit FrameWindows(std::vector<FrameWindow> frames = {}, bool byExposure = false);

  std::vector<double> Positions(std::size_t axis) const;
  bool IsSmooth(std::size_t axis) const;  // changes steadily, as an image does that moves and is seen well
  double Motion(std::size_t axis) const;  // of the image: its standard deviation without the outliers
};

// Where a frame's image stands by the fit, and by how much that changes with each parameter.
struct Tangent {
  double position = 0;
  Parameters change{};
};

// The best fit at a given lag.
struct LagTrial {
  Parameters at{};
  double share = 0;  // size of the residuals over that of the motion, both of their smaller three quarters
};

// The samples that the library takes against those that the fit finds.
struct Difference {
  double lagUs = 0;       // mean of all frames
  double farthestUs = 0;  // of all frames; |lagUs| where there is no slope
  double position = 0;    // RMS, of the lens on the axis that drives this one of the image
};

struct ImageAxis {
  HallSignal const& hall;
  FrameWindows const& windows;
  std::size_t index;  // 0 is x

  Tangent TangentOf(FrameWindow const& window, Parameters const& at) const;

  // Fits offset, trend and gains by least absolute deviations, which outliers do not bend, at the lag, drift and slope
  // of `at`; the curvature too, if `at` has gains. Frames without samples all around them are left out. nullopt if
  // fewer than `fewest` are left, or the gains cannot be told apart.
  std::optional<LagTrial> TryLag(Parameters const& at, std::size_t fewest) const;

  Difference DifferenceOf(Parameters const& at) const;
};

double LibraryLagUs(double shorterUs);

constexpr double kOutlierScales = 4.685;  // of Tukey's biweight: 95 % as efficient as least squares

struct RobustFit {
  Parameters at{};
  double scale = 0;        // standard deviation of the residuals without the outliers
  double correlation = 0;  // of the errors of neighbouring frames

  // In the order of the windows.
  std::vector<Tangent> tangents;
  std::vector<double> residuals;
  std::vector<bool> isOutlier;  // beyond kOutlierScales
  // By how much each frame's error has moved the parameters: the covariance of two quantities is the sum of the
  // products of their influences (sandwich). Empty where nothing was fitted.
  std::vector<Parameters> influences;
};
using BothAxes = std::array<RobustFit, 2>;

// Fills all but the influences for the parameters `fit.at`; which frames are outliers only with `marksOutliers`.
void Evaluate(ImageAxis const& axis, RobustFit& fit, bool marksOutliers = true);

// Least absolute deviations, then Tukey's biweight of errors that are freed of their first autocorrelation. Starts from
// `at`, whose slope is kept where the windows can tell none. nullopt when the parameters cannot be told apart or do not
// settle.
std::optional<RobustFit> FitRobustly(ImageAxis const& axis, Parameters const& at);

// Standard error of a quantity of x plus one of y, each a gradient times the parameters.
double ErrorOf(BothAxes const& fits, Parameters const& ofX, Parameters const& ofY);

// Half the width of a 95 % interval.
double HalfWidth(double standardError, FrameWindows const& windows);

// The probability of differences from the library's numbers at least as large as those found, if the numbers hold: F
// test of lag and slope of both axes, or of both lags where there is no slope.
double ProbabilityOfLibrary(BothAxes const& fits, FrameWindows const& windows);

}  // namespace shadingctl
