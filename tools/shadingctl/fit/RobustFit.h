// The fit of one axis of the image that outliers do not bend, and the influence of each frame on its parameters.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <vector>

#include "tools/shadingctl/fit/ImageAxis.h"

namespace shadingctl {

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
