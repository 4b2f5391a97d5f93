// Least squares, of which each step of the fit is made.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <vector>

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

  // The other parameters are 0. nullopt when they cannot be told apart.
  std::optional<Parameters> Solve() const;
};

double MeanSquare(std::vector<double> const& values);

}  // namespace shadingctl
