// The lens position between samples, and its mean over any span of time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace shadingctl {

struct HallSample {
  std::int64_t timeNs = 0;
  double x = 0;
  double y = 0;
};

struct HallPoint {
  double x = 0;
  double y = 0;
};

enum class Coverage {
  kWhole,
  kPartial,  // no samples on one side, or two of them farther apart than three median intervals and 3 ms
  kClipped,  // an axis stands at an end of the range that its sensor can tell
};

// A smooth curve through the samples, less their mean: between two of them a cubic with the slopes of their
// neighbourhood, so that a low sample rate does not flatten the motion as straight lines would.
class HallSignal {
 public:
  // Sorts the samples; of samples closer together than a tenth of the median interval only the first counts. Requires:
  // two different times.
  explicit HallSignal(std::vector<HallSample> samples);

  HallPoint At(double timeUs) const;

  // Requires: fromUs < toUs.
  HallPoint Mean(double fromUs, double toUs) const;

  Coverage CoverageOf(double fromUs, double toUs) const;

  double MedianIntervalUs() const { return mMedianIntervalUs; }

  // The origin of all times that are handed in.
  std::int64_t FirstNs() const { return mFirstNs; }

 private:
  struct Knot {
    double timeUs = 0;
    HallPoint value;
    HallPoint slope;     // per us
    HallPoint integral;  // from the first knot
    std::size_t gapsBefore = 0;
    std::size_t clippedUpTo = 0;  // clipped knots, itself included
  };

  std::size_t KnotBefore(double timeUs) const;
  HallPoint IntegralTo(double timeUs) const;
  void FindSlopes();
  void FindClipped(double HallPoint::*axis, double sign);
  void Integrate();

  std::int64_t mFirstNs = 0;
  double mMedianIntervalUs = 0;
  std::vector<Knot> mKnots;
};

}  // namespace shadingctl
