// Fits where an image stood to where the lens stood: how much earlier than a frame's readout the samples were taken
// that show the lens of that frame. docs/bench.md explains the quantities.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

#include "tools/shadingctl/fit/HallSignal.h"

namespace shadingctl {

struct ReferenceFrame {
  std::uint32_t frame = 0;
  std::int64_t readoutStartNs = 0;  // the frame's timestamp less its exposure
  double exposureUs = 0;
  double readoutUs = 0;
  std::array<double, 2> position{};  // x and y, where the image stood
};

struct FitOptions {
  double searchUs = 40000;  // lags from minus to plus this
  std::uint32_t resamples = 1000;
};

// Of a bootstrap: 95 % of the values lie between both.
struct Interval {
  double low = 0;
  double high = 0;
  bool Holds(double value) const { return low <= value && value <= high; }
};

struct Estimate {
  double value = 0;
  Interval interval;
};

// The lag against the shorter one of exposure and readout: slope * shorter + intercept.
struct LagLine {
  Estimate slope;
  Estimate interceptUs;
};

// How well a lag fits: what it leaves over, as a share of the RMS of the image's motion.
struct SearchedLag {
  double lagUs = 0;
  double residualShare = 0;
};

// The lag of frames that are alike in the shorter one of exposure and readout, with the gains of all frames. The
// interval is that of independent errors.
struct GroupLag {
  double shorterUs = 0;           // mean
  std::optional<Estimate> lagUs;  // nullopt: the image stood still
};

struct AxisFit {
  bool isDrivenByY = false;     // which axis of the samples moves this axis of the image most
  Estimate lagUs;               // at the frames' mean of the shorter one of exposure and readout
  std::optional<LagLine> line;  // nullopt: the frames vary too little to tell slope and intercept apart
  Estimate gain;                // per unit of the driving axis; negative: mirrored
  Estimate crossTalk;           // gain of the other axis, as a share of `gain`
  double residual = 0;          // RMS, in units of the reference
  double residualShare = 0;     // of the RMS of the image's motion

  // For a picture.
  std::vector<SearchedLag> search;  // in the order of the lags, which are alike for both axes
  std::vector<GroupLag> groups;     // in the order of shorterUs, alike for both axes; empty where there is no line
};

// One frame that was used.
struct FittedImage {
  std::uint32_t frame = 0;
  std::array<double, 2> measured{};
  std::array<double, 2> fitted{};
};

struct ReferenceFit {
  std::size_t frames = 0;
  std::size_t leftOut = 0;  // there are no samples around their readout, or not without a gap
  double shorterUs = 0;     // mean of the shorter one of exposure and readout
  std::array<AxisFit, 2> axes;
  std::vector<FittedImage> images;
};

// The same for the same input. Throws UnusableInput with the reason when the frames cannot tell a lag.
ReferenceFit FitReference(HallSignal const& hall, std::vector<ReferenceFrame> const& frames, FitOptions const& options);

}  // namespace shadingctl
