// How the lens moves, from its samples alone.
#pragma once

#include <array>
#include <cstdint>
#include <optional>

#include "tools/shadingctl/statistics/Histogram.h"

namespace shadingctl {

// A histogram with bins of at most 1/2048 of the range of all values, in constant memory.
class SpreadHistogram {
 public:
  void Add(double value);

  std::uint64_t Count() const { return mCount; }
  double Lowest() const { return mLowest; }
  double Highest() const { return mHighest; }
  double Range() const { return mHighest - mLowest; }

  // Values no farther than this share of the range from the lowest value, and from the highest.
  std::uint64_t CountNearLowest(double share) const;
  std::uint64_t CountNearHighest(double share) const;

 private:
  static constexpr std::size_t kBins = 4096;

  std::size_t BinOf(double value) const;
  void DoubleWidth(bool towardsLower);

  std::array<std::uint64_t, kBins> mBins{};
  std::uint64_t mCount = 0;
  double mLowest = 0;
  double mHighest = 0;
  double mOrigin = 0;  // lower edge of the first bin
  double mWidth = 0;   // of a bin; 0 as long as all values are the same
};

// One axis. Values and their differences from sample to sample.
struct AxisFacts {
  SpreadHistogram values;
  std::uint64_t differences = 0;
  std::uint64_t unchanged = 0;  // differences of 0
  double sumOfSquares = 0;      // of the differences
  double mean = 0;              // of the values, with the sum of the squares of their distances to it
  double sumOfDeviations = 0;

  void Add(double value, std::optional<double> before);

  // Mean square of the differences over the variance: near 0 for a motion, 2 for noise around one place. nullopt where
  // nothing changes.
  std::optional<double> Roughness() const;
};

class StabiliserFacts {
 public:
  // Ignores a sample that repeats an earlier one or is earlier than the one before.
  void Add(std::uint32_t frame, std::int64_t timeNs, double x, double y);

  // The next sample does not follow the one before.
  void Break() { mBefore.reset(); }

  struct Step {
    std::uint32_t frame = 0;
    double size = 0;
  };

  AxisFacts const& X() const { return mX; }
  AxisFacts const& Y() const { return mY; }
  Step const& LargestStep() const { return mLargestStep; }

  // Steps of the lens from one sample to the next that are larger than this.
  std::uint64_t CountStepsAbove(double size) const;
  double MedianStep() const;

 private:
  struct Sample {
    std::int64_t timeNs = 0;
    double x = 0;
    double y = 0;
  };

  AxisFacts mX;
  AxisFacts mY;
  Histogram mSteps;  // in millionths of the samples' unit
  Step mLargestStep;
  std::optional<Sample> mBefore;
  std::int64_t mIntervalNs = 0;  // between the last two that counted
};

}  // namespace shadingctl
