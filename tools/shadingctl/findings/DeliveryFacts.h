// When samples are delivered: the lead of the newest one over its frame, and over the call that brought it.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "tools/shadingctl/findings/Intervals.h"

namespace shadingctl {

// A step of the samples' clock against the other one.
struct ClockStep {
  Interval at;
  double us = 0;  // positive: the samples' clock jumped forward
};

// A trend over the session.
struct ClockTrend {
  double ppm = 0;
  double us = 0;  // that it adds up to
};

// One entry a frame that came with new samples.
class DeliveryFacts {
 public:
  struct Lead {
    std::uint32_t frame = 0;
    std::int64_t frameNs = 0;      // its timestamp
    std::int64_t overFrameNs = 0;  // newest sample - timestamp
    std::int64_t readoutNs = 0;
    std::optional<std::int64_t> overCallNs;  // newest sample - call time
  };

  void Add(Lead const& lead) { mLeads.push_back(lead); }
  bool IsEmpty() const { return mLeads.empty(); }

  // The lead over the frame's timestamp, from the least (at a share of 0) to the greatest (1). Requires: !IsEmpty().
  double OverFrameUs(double share) const;

  // How much later the calls are than their frames' timestamps, median; nullopt without call times.
  std::optional<double> CallDelayUs() const;

  // The calls have times, on a clock that is that of the frames.
  bool HasCallTimes() const;

  // The lead over the call that brought the sample, median. Requires: HasCallTimes().
  double OverCallUs() const;

  // In the lead over the calls where these have times, otherwise over the frames, with and without their readout.
  std::vector<ClockStep> Steps(double sampleIntervalUs) const;
  std::optional<ClockTrend> Trend(double sampleIntervalUs) const;

 private:
  std::vector<double> ClockLeadsUs(bool sinceReadout) const;
  std::optional<ClockTrend> TrendOf(std::vector<double> const& leads, double sampleIntervalUs) const;

  std::vector<Lead> mLeads;
};

}  // namespace shadingctl
