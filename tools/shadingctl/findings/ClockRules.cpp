// Rules about the clocks and units of times.
#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "tools/shadingctl/findings/RuleWords.h"
#include "tools/shadingctl/findings/Rules.h"

namespace shadingctl::rules {

namespace {

// What sensors and cameras do; a value outside that comes into the range by a factor of 10^3 or 10^6 is in another
// unit.
struct PlausibleRange {
  char const* what;
  char const* figure;
  double leastUs;
  double mostUs;
};
constexpr PlausibleRange kFrameIntervals = {"frame timestamps", "frame_interval_us", 500,
                                            10e6};  // 2000 a second to night exposures
constexpr PlausibleRange kSampleIntervals = {"sample timestamps", "sample_interval_us", 20, 100e3};  // 50 kHz to 10 Hz
constexpr PlausibleRange kExposures = {"exposure times", "exposure_us", 20, 60e6};  // 1/50000 s to a minute
constexpr PlausibleRange kReadouts = {"readout times", "readout_us", 200, 500e3};   // a binned mode to a slow sensor

std::optional<double> WrongFactor(std::optional<double> valueUs, PlausibleRange const& range) {
  if (!valueUs || (*valueUs >= range.leastUs && *valueUs <= range.mostUs)) return std::nullopt;
  for (double const factor : {1e3, 1e-3, 1e6, 1e-6}) {
    if (*valueUs * factor >= range.leastUs && *valueUs * factor <= range.mostUs) return factor;
  }
  return std::nullopt;
}

}  // namespace

// units. A rate or time outside its plausible range that a factor of 10^3 or 10^6 brings inside. Told first and
// whatever the match says: in a wrong unit the tolerance is a thousand times as wide, and everything matches.
std::optional<SessionFinding> WrongUnits(SessionFacts const& facts) {
  struct Measured {
    PlausibleRange const& range;
    std::optional<double> valueUs;
  };
  SessionFinding finding;
  for (auto const& [range, valueUs] :
       {Measured{kFrameIntervals, facts.FrameIntervalUs()}, Measured{kSampleIntervals, facts.Samples().intervalUs},
        Measured{kExposures, facts.MedianExposureUs()}, Measured{kReadouts, facts.MedianReadoutUs()}}) {
    auto const factor = WrongFactor(valueUs, range);
    if (!factor) continue;
    finding.figures.emplace_back(range.figure, *valueUs);
    finding.text +=
        fmt::format("{}{} look {:.0f} times too {} ({:.3g} us)", finding.text.empty() ? "WRONG UNIT: " : ", ",
                    range.what, *factor > 1 ? *factor : 1 / *factor, *factor > 1 ? "small" : "large", *valueUs);
  }
  if (finding.text.empty()) return std::nullopt;
  finding.code = "units";
  finding.text += ". Nothing else that this result says means anything";
  finding.advice = "hand every time over in nanoseconds of one clock";
  return finding;
}

// Both clocks differ when not one frame has its start near a sample, the newest sample's lead over its frame is steady
// to within three frames, and every window either has nothing after the frame's timestamp (samples behind) or begins
// with the history (samples ahead).
bool HasSteadyOffset(SessionFacts const& facts) {
  MatchFacts const& match = facts.Matches();
  TimeRange const& leadNs = facts.Delivery().LeadNs();
  auto const frameUs = facts.FrameIntervalUs();
  if (match.Settled() == 0 || match.Of(StartCause::kNear).count > 0 || leadNs.IsEmpty() || !frameUs) return false;
  double const spreadUs = (static_cast<double>(leadNs.greatest) - static_cast<double>(leadNs.least)) / 1e3;
  bool const isBehind = match.Of(StartCause::kNothingAfter).count == match.Settled() && leadNs.greatest < 0;
  bool const isAhead = match.Of(StartCause::kHistoryBeginsLate).count == match.Settled();
  return (isBehind || isAhead) && spreadUs <= 3 * *frameUs;
}

// clock_offset. See HasSteadyOffset. The lead holds the delivery latency too, so the offset is told no closer than
// that.
std::optional<SessionFinding> ClockOffset(SessionFacts const& facts) {
  if (!HasSteadyOffset(facts)) return std::nullopt;
  TimeRange const& leadNs = facts.Delivery().LeadNs();
  double const leastUs = static_cast<double>(leadNs.least) / 1e3;
  double const greatestUs = static_cast<double>(leadNs.greatest) / 1e3;
  bool const isBehind = greatestUs < 0;
  return SessionFinding{
      "clock_offset",
      fmt::format("no frame has a sample near its start, and the newest sample is always {} {} its frame's "
                  "timestamp: the two clocks differ by that, known no closer than the delivery latency",
                  isBehind ? FromTo(-greatestUs, -leastUs) : FromTo(leastUs, greatestUs),
                  isBehind ? "before" : "after"),
      "take the timestamps of frames and samples from one clock",
      {{"least_us", leastUs}, {"greatest_us", greatestUs}},
      facts.Matches().Of(isBehind ? StartCause::kNothingAfter : StartCause::kHistoryBeginsLate)};
}

// clock_jump. The newest sample's lead over its frame changes by 50 ms or more and stays there for 30 frames. 50 ms is
// above the jitter of a delivery; a batch that is late comes back within the history.
std::optional<SessionFinding> ClockJump(SessionFacts const& facts) {
  FrameList const& jumps = facts.Delivery().Jumps();
  if (jumps.count == 0) return std::nullopt;
  double const largestUs = static_cast<double>(facts.Delivery().LargestJumpNs()) / 1e3;
  return SessionFinding{"clock_jump",
                        fmt::format("the clock of the samples jumped against that of the frames {}, by {} {}{}",
                                    Times(jumps.count), Milliseconds(std::abs(largestUs)),
                                    largestUs > 0 ? "forward" : "back", jumps.count == 1 ? "" : " at most"),
                        "use a clock that nobody sets, and restart the monitor where it must be set",
                        {{"jumps", static_cast<double>(jumps.count)}, {"largest_us", largestUs}},
                        jumps};
}

}  // namespace shadingctl::rules
