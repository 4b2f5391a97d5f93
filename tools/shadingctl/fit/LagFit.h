// Fits where an image stood to where the lens stood: how much earlier than a frame's readout the samples were taken
// that show the lens of that frame. docs/bench.md explains the quantities.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tools/shadingctl/fit/RobustFit.h"

namespace shadingctl {

struct ReferenceFrame {
  std::uint32_t frame = 0;
  std::int64_t readoutStartNs = 0;  // the frame's timestamp less its exposure
  double exposureUs = 0;
  double readoutUs = 0;
  std::array<double, 2> position{};  // x and y, where the image stood
};

struct FitOptions {
  double searchUs = 40000;  // lags from minus to plus this, and two frame intervals further
};

struct Refusal {
  char const* code;
  std::string text;
};

enum class LagFollows { kCannotTell, kShorter, kExposure };  // the shorter one of exposure and readout, or the exposure

// What a lag leaves over of x and of y, as a share of the image's motion.
struct SearchedLag {
  double lagUs = 0;
  std::array<double, 2> share{};
};

struct ReferenceFit {
  FrameWindows windows;     // the frames that were used
  std::size_t leftOut = 0;  // there are no samples around their readout, or not without a gap
  std::size_t clipped = 0;  // left out as well: the samples touch an end of their range
  double frameIntervalUs = 0;
  double readoutUs = 0;            // median
  std::optional<Refusal> refused;  // then nothing has an interval
  bool hasLag = false;             // also where it was refused: a best lag was found
  BothAxes axes;                   // x and y
  LagFollows follows = LagFollows::kCannotTell;
  double probability = 1;  // of differences from the library's numbers at least as large, if the numbers hold
  std::array<Difference, 2> differences;
  std::vector<SearchedLag> search;  // in the order of the lags, by one model: that of ImageAxis::TryLag
};

// The same for the same input.
ReferenceFit FitReference(std::vector<HallSample> const& samples, std::vector<ReferenceFrame> const& frames,
                          FitOptions const& options);

}  // namespace shadingctl
