// One axis of the image, as a function of where the lens stood.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <utility>
#include <vector>

#include "tools/shadingctl/fit/HallSignal.h"
#include "tools/shadingctl/fit/LeastSquares.h"

namespace shadingctl {

// A frame on the clock of the hall signal.
struct Readout {
  double startUs = 0;
  double endUs = 0;
  double shorterUs = 0;              // of exposure and readout, less the mean
  std::array<double, 2> position{};  // x and y, where the image stood
};

// Where a frame's image stands by the fit, and what moves it there.
struct Tangent {
  HallPoint lens;  // the mean over the readout, less the lag
  double position = 0;
  double byLag = 0;  // by how much the position changes with 1 us more of lag
};

class ImageAxis {
 public:
  // `index` 0 is x. With `count` kParameters the lag has a slope, with kSlope it has none. What is handed in must
  // outlive the object.
  ImageAxis(HallSignal const& hall, std::vector<Readout> const& readouts, std::size_t index, std::size_t count)
      : mHall(hall), mReadouts(readouts), mIndex(index), mCount(count) {}

  // The best offset and gains at a lag, and the squared residual left. nullopt when they cannot be told apart.
  std::optional<std::pair<Parameters, double>> At(double lagUs, double slope) const;

  // The parameters with the least squared residual near `at`; nullopt when there are none.
  std::optional<Parameters> Refine(Parameters at) const;

  // The fit near `at` as a linear problem, per block of a few frames, whose errors are alike.
  std::vector<Moments> Blocks(Parameters const& at) const;

  // In the order of the readouts.
  std::vector<Tangent> Tangents(Parameters const& at) const;

 private:
  HallSignal const& mHall;
  std::vector<Readout> const& mReadouts;
  std::size_t mIndex;
  std::size_t mCount;
};

}  // namespace shadingctl
