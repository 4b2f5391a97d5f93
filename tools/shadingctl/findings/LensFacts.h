// How the lens moves, from its samples alone: in windows of half a second or more, and over the session.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

#include "tools/shadingctl/findings/Intervals.h"

namespace shadingctl {

// A sample that is later than all before.
struct LensSample {
  std::int64_t timeNs = 0;
  std::uint32_t frame = 0;  // with which it came
  std::array<double, 2> at{};
  bool follows = false;  // the sample before it, without a gap
};

// What a window says of one axis.
struct AxisWindow {
  double noise = 0;      // standard deviation, from the second differences, in which a motion hardly shows
  double stillness = 0;  // spread of ten block medians over what noise alone gives
  double range = 0;      // from the 5th to the 95th percentile
  double usualStep = 0;  // 90th percentile of the steps from sample to sample
  double largestStep = 0;
  Interval largestAt;
};

struct LensWindow {
  Interval interval;
  std::array<AxisWindow, 2> axes;
  std::uint32_t heldFor = 0;  // samples for which a position is repeated before there is a new one; 0: it is not
  std::int64_t usualIntervalNs = 0;
  std::int64_t longestIntervalNs = 0;
  Interval longestAt;
};

// A stretch in which every sample repeats the position before.
struct FlatStretch {
  Interval interval;
  bool hasLived = false;  // the position changed before
};

class LensFacts {
 public:
  // An axis of the whole session: positions and steps, thinned to some thousands, in ascending order.
  struct Axis {
    std::vector<double> positions;
    std::vector<double> steps;
    double noise = 0;      // median of the windows
    double grain = 0;      // the smallest step that is not 0
    double range = 0;      // central range: from the 5th to the 95th percentile
    bool isStill = false;  // noise or nothing in every window
  };

  // Ignores a sample that repeats an earlier one or is earlier than the one before.
  void Add(std::uint32_t frame, std::int64_t timeNs, double x, double y);

  // The next sample does not follow the one before.
  void Break() { mBefore.reset(); }

  std::vector<LensWindow> const& Windows() const { return mWindows; }
  std::vector<FlatStretch> FlatStretches(std::size_t axis) const;  // each at least a window long
  Axis AxisOf(std::size_t axis) const;

  // Samples for which a position is held, in most of the windows; 1 where they are all new.
  std::uint32_t HeldFor() const;

 private:
  struct FlatRun {
    std::optional<FlatStretch> open;
    std::uint64_t samples = 0;
    std::uint64_t changes = 0;
    std::vector<FlatStretch> done;
  };
  static bool IsLong(FlatRun const& run);
  void AddToRun(FlatRun& run, LensSample const& sample, bool isSame) const;
  void Keep(LensSample const& sample);

  std::vector<LensSample> mWindow;  // at work
  std::vector<LensWindow> mWindows;
  std::array<FlatRun, 2> mRuns;
  std::array<double, 2> mGrains{};
  std::optional<LensSample> mBefore;
  std::int64_t mIntervalNs = 0;  // between the last two that counted
  std::uint32_t mIgnored = 0;    // samples in a row
  struct Kept {
    std::array<float, 2> at{};
    std::array<float, 2> step{};
  };
  std::vector<Kept> mKept;  // every mStride-th sample
  std::uint64_t mStride = 1;
  std::uint64_t mSamples = 0;
};

}  // namespace shadingctl
