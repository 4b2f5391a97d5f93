// Rules about the clocks and units of times.
#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "tools/shadingctl/findings/Rules.h"

namespace shadingctl::rules {
namespace {

// A time of a session, and the range that sensors and cameras keep to: a value outside it that a factor of 10^3 or 10^6
// brings inside is in another unit.
constexpr struct PlausibleTime {
  char const* what;
  char const* figure;
  std::optional<double> (*valueUs)(SessionFacts const& facts);
  double leastUs;
  double mostUs;

  bool Includes(double us) const { return us >= leastUs && us <= mostUs; }
} kPlausibleTimes[] = {
    {"frame timestamps", "frame_interval_us", [](SessionFacts const& facts) { return facts.FrameIntervalUs(); }, 500,
     10e6},  // 2000 a second to night exposures
    {"sample timestamps", "sample_interval_us", [](SessionFacts const& facts) { return facts.Samples().intervalUs; },
     20, 100e3},  // 50 kHz to 10 Hz
    {"exposure times", "exposure_us", [](SessionFacts const& facts) { return facts.MedianExposureUs(); }, 20,
     60e6},  // 1/50000 s to a minute
    {"readout times", "readout_us", [](SessionFacts const& facts) { return facts.MedianReadoutUs(); }, 200,
     500e3},  // a binned mode to a slow sensor
};

constexpr double kNoDelayUs = -500e3;  // no platform delivers so late
constexpr double kAheadUs = 1500;      // the library's tolerance

// What else has the looks of a change of the samples' clock where there are no call times.
std::string AlikeText(SessionFacts const& facts, char const* change) {
  return facts.Delivery().HasCallTimes()
             ? ""
             : fmt::format("; without call times, {} of the host's delay looks alike", change);
}

std::string ForwardOrBack(double us) { return us > 0 ? "forward" : "back"; }

}  // namespace

// units. A rate or time outside its plausible range that a factor of 10^3 or 10^6 brings inside. Told first and
// whatever the match says: in a wrong unit the tolerance is a thousand times as wide, and everything matches.
std::optional<SessionFinding> WrongUnits(SessionFacts const& facts) {
  SessionFinding finding;
  for (PlausibleTime const& time : kPlausibleTimes) {
    auto const valueUs = time.valueUs(facts);
    if (!valueUs || time.Includes(*valueUs)) continue;
    constexpr double kFactors[] = {1e3, 1e-3, 1e6, 1e-6};
    auto const* const factor = std::find_if(std::begin(kFactors), std::end(kFactors),
                                            [&](double one) { return time.Includes(*valueUs * one); });
    if (factor == std::end(kFactors)) continue;
    finding.figures.emplace_back(time.figure, *valueUs);
    finding.text +=
        fmt::format("{}{} look {:.0f} times too {} ({:.3g} us)", finding.text.empty() ? "WRONG UNIT: " : ", ",
                    time.what, *factor > 1 ? *factor : 1 / *factor, *factor > 1 ? "small" : "large", *valueUs);
  }
  if (finding.text.empty()) return std::nullopt;
  finding.text += ". Nothing else that this result says means anything";
  finding.advice = "hand every time over in nanoseconds of one clock";
  return finding;
}

// Both clocks differ when not one frame has its start near a sample, the newest sample's lead over its frame is steady
// to within three frames, and every window either has nothing after the frame's timestamp (samples behind) or begins
// with the history (samples ahead).
bool HasSteadyOffset(SessionFacts const& facts) {
  MatchFacts const& match = facts.Matches();
  DeliveryFacts const& delivery = facts.Delivery();
  auto const frameUs = facts.FrameIntervalUs();
  if (match.Settled() == 0 || match.Of(StartCause::kNear).count > 0 || delivery.IsEmpty() || !frameUs) return false;
  double const greatestUs = delivery.OverFrameUs(1);
  bool const isBehind = match.Of(StartCause::kNothingAfter).count == match.Settled() && greatestUs < 0;
  bool const isAhead = match.Of(StartCause::kHistoryBeginsLate).count == match.Settled();
  return (isBehind || isAhead) && greatestUs - delivery.OverFrameUs(0) <= 3 * *frameUs;
}

// clock_offset. See HasSteadyOffset; with call times, samples that are more than 0.5 s older than the call that brought
// them, or more than that later. The lead holds the delivery latency too, so the offset is told no closer than that.
std::optional<SessionFinding> ClockOffset(SessionFacts const& facts) {
  DeliveryFacts const& delivery = facts.Delivery();
  bool const isTold = delivery.HasCallTimes() ? delivery.OverCallUs() < kNoDelayUs : HasSteadyOffset(facts);
  if (!isTold) return std::nullopt;
  double const leastUs = delivery.OverFrameUs(0);
  double const greatestUs = delivery.OverFrameUs(1);
  bool const isBehind = greatestUs < 0;
  return SessionFinding{
      fmt::format("the newest sample is always {} {} its frame's timestamp: the two clocks differ by that, known no "
                  "closer than the delivery latency",
                  isBehind ? FromTo(-greatestUs, -leastUs) : FromTo(leastUs, greatestUs),
                  isBehind ? "before" : "after"),
      "take the timestamps of frames and samples from one clock",
      {{"least_us", leastUs}, {"greatest_us", greatestUs}},
      facts.Matches().Of(isBehind ? StartCause::kNothingAfter : StartCause::kHistoryBeginsLate)};
}

// clock_jump. The lead of the newest sample steps between the medians of 30 frames on either side, the common trend
// apart, by at least 5 ms, 1.5 sample intervals and the width of the lead itself (DeliveryFacts.cpp).
std::optional<SessionFinding> ClockJump(SessionFacts const& facts) {
  auto const steps = facts.Delivery().Steps(facts.TrueIntervalUs().value_or(0));
  if (steps.empty() || HasSteadyOffset(facts)) return std::nullopt;
  double largestUs = 0;
  std::vector<Interval> places;
  for (ClockStep const& step : steps) {
    if (std::abs(step.us) > std::abs(largestUs)) largestUs = step.us;
    places.push_back(step.at);
  }
  return SessionFinding{fmt::format("the clock of the samples jumped against that of the {} {}, by {} {}{}{}",
                                    facts.Delivery().HasCallTimes() ? "calls" : "frames", Times(steps.size()),
                                    Milliseconds(std::abs(largestUs)), ForwardOrBack(largestUs),
                                    steps.size() == 1 ? "" : " at most", AlikeText(facts, "a step")),
                        "use a clock that nobody sets, and restart the monitor where it must be set",
                        {{"jumps", static_cast<double>(steps.size())}, {"largest_us", largestUs}},
                        {},
                        places};
}

// clock_drift. The slope of the lead (Theil-Sen) adds up to more than 1.5 ms and a sample interval, and no jump
// explains it.
std::optional<SessionFinding> ClockDrift(SessionFacts const& facts) {
  auto const trend = facts.Delivery().Trend(facts.TrueIntervalUs().value_or(0));
  if (!trend) return std::nullopt;
  return SessionFinding{
      fmt::format("the clock of the samples drifts by {:.0f} ppm against that of the {}, {} {} in all{}", trend->ppm,
                  facts.Delivery().HasCallTimes() ? "calls" : "frames", Milliseconds(std::abs(trend->us)),
                  ForwardOrBack(trend->us), AlikeText(facts, "a trend")),
      "take the timestamps of frames and samples from one clock",
      {{"ppm", trend->ppm}, {"total_us", trend->us}}};
}

// clock_ahead. The median sample is more than 1.5 ms later than the call that brought it. A host whose calls have the
// times of another epoch is told as that, and its call times are used for nothing else.
std::optional<SessionFinding> ClockAhead(SessionFacts const& facts) {
  DeliveryFacts const& delivery = facts.Delivery();
  auto const delayUs = delivery.CallDelayUs();
  if (!delayUs) return std::nullopt;
  if (!delivery.HasCallTimes()) {
    return SessionFinding{
        fmt::format("the calls are {:.0f} s {} their frames' timestamps: the host's clock has another "
                    "epoch, and nothing is concluded from the times of calls",
                    std::abs(*delayUs) / kUsInS, *delayUs > 0 ? "after" : "before"),
        "record the times of calls by the clock of the frames",
        {{"median_us", *delayUs}},
        {},
        {},
        Severity::kNote};
  }
  double const aheadUs = delivery.OverCallUs();
  if (aheadUs <= kAheadUs) return std::nullopt;
  return SessionFinding{
      fmt::format("the newest sample is {} later than the call that brought it (median): the clock of "
                  "the samples is ahead by that at least",
                  Milliseconds(aheadUs)),
      "take the timestamps of frames and samples from one clock",
      {{"median_us", aheadUs}}};
}

}  // namespace shadingctl::rules
