#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "tools/shadingctl/dumps/HallDumpFile.h"

namespace shadingctl {
namespace {

constexpr double kPrinted = 0.5e-6;  // a printed number differs by at most this from the number

bool IsSame(double one, double other) { return one == other || (std::isnan(one) && std::isnan(other)); }

// The sum as the library computes it, in single precision and in the order of time, and a bound for its difference from
// the sum of the unrounded numbers.
bool IsMean(std::vector<Position> const& samples, double Position::*axis, double position) {
  float sum = 0;
  double largest = 0;
  for (Position const& sample : samples) {
    sum += static_cast<float>(sample.*axis);
    largest = std::max(largest, std::abs(double{sum}));
  }
  auto const count = static_cast<float>(samples.size());
  double const tolerance = 2 * kPrinted + largest * static_cast<double>(std::numeric_limits<float>::epsilon());
  return IsSame(double{sum / count}, position) || std::abs(double{sum / count} - position) <= tolerance;
}

bool IsMaximum(std::vector<Position> const& samples, double Position::*axis, double position) {
  double maximum = samples.front().*axis;
  for (Position const& sample : samples) {
    if (!(maximum > sample.*axis)) maximum = sample.*axis;
  }
  return IsSame(maximum, position);
}

bool IsAt(Position const& sample, Position const& position) {
  return IsSame(sample.x, position.x) && IsSame(sample.y, position.y);
}

}  // namespace

std::optional<std::string> CheckPosition(HallDump const& dump) {
  std::vector<Position> const& samples = dump.samples;
  Position const& found = dump.hall0;
  bool const isComputed = (IsMean(samples, &Position::x, found.x) && IsMean(samples, &Position::y, found.y)) ||
                          (IsMaximum(samples, &Position::x, found.x) && IsMaximum(samples, &Position::y, found.y)) ||
                          IsAt(samples[(samples.size() - 1) / 2], found) || IsAt(samples.back(), found);
  if (isComputed) return std::nullopt;
  return fmt::format("expected the mean, maximum, middle or last of the samples, found ({:.6f}, {:.6f})", found.x,
                     found.y);
}

}  // namespace shadingctl
