#include "tools/shadingctl/fit/LeastSquares.h"

namespace shadingctl {
namespace {

constexpr double kSingular = 1e-9;  // a pivot below this share of its column is none

}  // namespace

void Moments::Add(Parameters const& row, double value) {
  for (std::size_t i = 0; i < kParameters; ++i) {
    for (std::size_t k = 0; k < kParameters; ++k) matrix[i][k] += row[i] * row[k];
    right[i] += row[i] * value;
  }
  squares += value * value;
}

void Moments::Add(Moments const& other) {
  for (std::size_t i = 0; i < kParameters; ++i) {
    for (std::size_t k = 0; k < kParameters; ++k) matrix[i][k] += other.matrix[i][k];
    right[i] += other.right[i];
  }
  squares += other.squares;
}

std::optional<Parameters> Solve(Moments moments, std::size_t count) {
  auto& m = moments.matrix;
  Parameters const diagonal = {m[0][0], m[1][1], m[2][2], m[3][3], m[4][4]};
  for (std::size_t i = 0; i < count; ++i) {
    if (!(m[i][i] > kSingular * diagonal[i])) return std::nullopt;
    for (std::size_t k = i + 1; k < count; ++k) {
      double const factor = m[k][i] / m[i][i];
      for (std::size_t j = i; j < count; ++j) m[k][j] -= factor * m[i][j];
      moments.right[k] -= factor * moments.right[i];
    }
  }
  Parameters solution{};
  for (std::size_t i = count; i-- > 0;) {
    double rest = moments.right[i];
    for (std::size_t j = i + 1; j < count; ++j) rest -= m[i][j] * solution[j];
    solution[i] = rest / m[i][i];
  }
  return solution;
}

}  // namespace shadingctl
