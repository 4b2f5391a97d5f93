// The linear least-squares problem that each step of the fit solves.
#pragma once

#include <array>
#include <cstddef>
#include <optional>

namespace shadingctl {

// Parameters: offset, gains of X and Y, lag at the mean of the shorter one of exposure and readout, slope of the lag.
// The slope comes last, so that it can be left out.
constexpr std::size_t kParameters = 5;
constexpr std::size_t kGainX = 1;
constexpr std::size_t kGainY = 2;
constexpr std::size_t kLag = 3;
constexpr std::size_t kSlope = 4;
using Parameters = std::array<double, kParameters>;

// Sums over the equations of a least-squares problem.
struct Moments {
  std::array<Parameters, kParameters> matrix{};
  Parameters right{};
  double squares = 0;

  void Add(Parameters const& row, double value);
  void Add(Moments const& other);
};

// Solves for the first `count` parameters by elimination; the others are 0. nullopt when they cannot be told apart.
std::optional<Parameters> Solve(Moments moments, std::size_t count);

}  // namespace shadingctl
