#include "tools/shadingctl/fit/LeastSquares.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <utility>

#include "tools/shadingctl/statistics/Median.h"

namespace shadingctl {
namespace {

constexpr double kSingular = 1e-9;  // a pivot below this share of its column is none

}  // namespace

double Dot(Parameters const& one, Parameters const& other) {
  return std::inner_product(one.begin(), one.end(), other.begin(), 0.0);
}

Parameters Only(Parameter parameter, double value) {
  Parameters parameters{};
  parameters[parameter] = value;
  return parameters;
}

void Moments::Add(Parameters const& row, double value, double weight) {
  for (std::size_t i = 0; i < count; ++i) {
    for (std::size_t k = 0; k <= i; ++k) matrix[i][k] += weight * row[i] * row[k];
    right[i] += weight * row[i] * value;
  }
}

// By elimination, which fills the upper half.
std::optional<Parameters> Moments::Solve() const {
  auto m = matrix;
  Parameters solution{};
  std::copy_n(right.begin(), count, solution.begin());
  for (std::size_t i = 0; i < count; ++i) {
    if (!(m[i][i] > kSingular * matrix[i][i])) return std::nullopt;
    for (std::size_t k = i + 1; k < count; ++k) {
      m[i][k] = m[k][i];
      double const factor = m[k][i] / m[i][i];
      for (std::size_t j = i + 1; j <= k; ++j) m[k][j] -= factor * m[j][i];
      solution[k] -= factor * solution[i];
    }
  }
  for (std::size_t i = count; i-- > 0;) {
    for (std::size_t j = i + 1; j < count; ++j) solution[i] -= m[i][j] * solution[j];
    solution[i] /= m[i][i];
  }
  return solution;
}

double MeanSquare(std::vector<double> const& values) {
  return std::inner_product(values.begin(), values.end(), values.begin(), 0.0) / static_cast<double>(values.size());
}

}  // namespace shadingctl
