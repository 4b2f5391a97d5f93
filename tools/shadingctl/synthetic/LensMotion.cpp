// The motion of the lens.
#include <algorithm>
#include <cmath>
#include <cstddef>

#include "tools/shadingctl/synthetic/SyntheticSamples.h"

namespace shadingctl {
namespace {

constexpr double kHallSteps = 1e6;  // a position is a multiple of 1/1000000
constexpr double kNoise = 0.05;     // pixels of lens shift

// A component of the hand's motion. Frequencies in mHz, amplitudes in pixels of lens shift.
struct Swing {
  std::int64_t milliHertz;
  double amplitude;
  double start;  // turns
};
constexpr Swing kSwingX[] = {
    {700, 28.0, 0.10}, {1900, 14.0, 0.35}, {4300, 9.0, 0.60}, {8900, 5.0, 0.85}, {11600, 2.0, 0.20}};
constexpr Swing kSwingY[] = {
    {500, 24.0, 0.40}, {2300, 16.0, 0.15}, {3700, 8.0, 0.75}, {7900, 6.0, 0.05}, {12000, 2.5, 0.55}};

// The sine of `turns` in [0, 2). Made of additions and multiplications, which are the same on every machine.
double Sine(double turns) {
  if (turns >= 1.0) turns -= 1.0;
  double const quarters = 4.0 * turns;
  double const folded = quarters < 1.0 ? quarters : quarters < 3.0 ? 2.0 - quarters : quarters - 4.0;
  double const angle = 1.5707963267948966 * folded;
  double const square = angle * angle;
  return angle * (1.0 + square * (-1.0 / 6 + square * (1.0 / 120 + square * (-1.0 / 5040 + square / 362880))));
}

template <std::size_t N>
double SumOf(Swing const (&swings)[N], std::int64_t sinceFirstNs, double noise) {
  constexpr std::int64_t kMilliTurnNs = 1000000000000;  // ns * mHz in one turn
  double position = kNoise * noise;
  for (Swing const& swing : swings) {
    std::int64_t const part = (sinceFirstNs % kMilliTurnNs) * swing.milliHertz % kMilliTurnNs;
    position += swing.amplitude * Sine(swing.start + static_cast<double>(part) / static_cast<double>(kMilliTurnNs));
  }
  return position;
}

template <std::size_t N>
float AxisAt(Swing const (&swings)[N], std::int64_t sinceFirstNs, double noise, LensTrouble const& trouble) {
  double position = SumOf(swings, sinceFirstNs, noise);
  if (trouble.endStop) {
    position = std::clamp(SumOf(swings, sinceFirstNs, 0), -*trouble.endStop, *trouble.endStop) + kNoise * noise;
  }
  if (trouble.grain > 0) position = trouble.grain * std::round(position / trouble.grain);
  return static_cast<float>(static_cast<double>(std::llround(position * kHallSteps)) / kHallSteps);
}

}  // namespace

LensPoint LensAt(std::int64_t sinceFirstNs, double noiseX, double noiseY, LensTrouble const& trouble) {
  return {AxisAt(kSwingX, sinceFirstNs, noiseX, trouble), AxisAt(kSwingY, sinceFirstNs, noiseY, trouble)};
}

}  // namespace shadingctl
