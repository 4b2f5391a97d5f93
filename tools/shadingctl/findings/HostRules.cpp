// Rules about what the host hands over, when it calls, and what the positions of its frames stand for.
#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "tools/shadingctl/findings/Rules.h"

namespace shadingctl::rules {
namespace {

constexpr double kUsualAgeUs = 5000;  // of the newest sample when it comes, besides two sample intervals

}  // namespace

// frame_times. Any frame whose timestamp is that of the frame before, or earlier.
std::optional<SessionFinding> FrameTimes(SessionFacts const& facts) {
  FrameList const& frames = facts.Matches().timesBackward;
  if (frames.count == 0) return std::nullopt;
  return AboutFrames(frames, facts, "the timestamps of {} repeat that of the frame before or run backward",
                     "hand over each frame's own timestamp");
}

// no_exposure. One frame in a hundred has an exposure of 0: its search interval begins with the timestamp then.
std::optional<SessionFinding> NoExposure(SessionFacts const& facts) {
  FrameList const& frames = facts.Matches().noExposures;
  if (!IsWorthTelling(frames, facts)) return std::nullopt;
  return AboutFrames(frames, facts, "the exposure time of {} is 0: their samples are looked for too late",
                     "hand over the exposure time in nanoseconds");
}

// no_readout. One frame in a hundred has a readout of 0, as before the first StoreRollingShutter: a span of one sample
// gives no position.
std::optional<SessionFinding> NoReadout(SessionFacts const& facts) {
  FrameList const& frames = facts.Matches().noReadouts;
  if (!IsWorthTelling(frames, facts)) return std::nullopt;
  return AboutFrames(frames, facts, "the readout time of {} is 0: no span has two samples",
                     "store the readout time of the sensor mode after each start of the monitor");
}

// call_order. One frame in a hundred is computed before its own update. A note where none of them loses an end.
std::optional<SessionFinding> CallOrder(SessionFacts const& facts) {
  BatchFacts const& batches = facts.Batches();
  if (!IsWorthTelling(batches.afterwards, facts)) return std::nullopt;
  return SessionFinding{fmt::format("{} were computed before their own update; {} of them lack an end near a sample",
                                    FramesText(batches.afterwards, facts), batches.afterwardsUnmatched),
                        "call UpdateSensorData before CalcOISValue",
                        {{"unmatched", static_cast<double>(batches.afterwardsUnmatched)}},
                        batches.afterwards,
                        {},
                        batches.afterwardsUnmatched > 0 ? Severity::kLost : Severity::kNote};
}

bool IsDeliveredLate(SessionFacts const& facts) {
  DeliveryFacts const& delivery = facts.Delivery();
  if (!delivery.HasCallTimes()) return false;
  return -delivery.OverCallUs() > kUsualAgeUs + 2 * facts.TrueIntervalUs().value_or(0);
}

// late_delivery. With call times: the median of the newest samples is older when it comes than 5 ms and two sample
// intervals. A note unless one frame in a hundred lacks samples that were taken well before the call.
std::optional<SessionFinding> LateDelivery(SessionFacts const& facts) {
  if (!IsDeliveredLate(facts)) return std::nullopt;
  double const ageUs = -facts.Delivery().OverCallUs();
  FrameList const& late = facts.Matches().late;
  bool const costsFrames = IsWorthTelling(late, facts);
  return SessionFinding{
      fmt::format(
          "the newest sample is {} old when it comes (median){}; a clock of the samples that is behind gives the "
          "very same recording",
          Milliseconds(ageUs),
          costsFrames
              ? fmt::format(", so {} lack samples that were taken long before the call", FramesText(late, facts))
              : ""),
      "have the platform deliver sooner; a reference tells it from a clock (fit)",
      {{"median_us", ageUs}},
      costsFrames ? late : FrameList(),
      {},
      costsFrames ? Severity::kLost : Severity::kNote};
}

// carried. Any frame after the warm-up whose position was taken from the oldest end of the window.
std::optional<SessionFinding> Carried(SessionFacts const& facts) {
  MatchFacts const& match = facts.Matches();
  if (match.carried.count == 0) return std::nullopt;
  SessionFinding finding{
      fmt::format("{} had no sample at their start and took an old position instead", FramesText(match.carried, facts)),
      "clear oisMatched before each call, so that such a frame keeps the last position "
      "(--reset-matched)",
      {},
      match.carried};
  auto const ageUs = match.carriedAgeUs.Median();
  if (ageUs) {
    finding.text += fmt::format(", {} {} (median)", Milliseconds(std::abs(*ageUs)), *ageUs < 0 ? "later" : "old");
    finding.figures.emplace_back("median_age_us", *ageUs);
  }
  auto const distances = facts.ReadoutDistances(Match::kCarried);
  if (distances.median) {
    finding.text +=
        fmt::format("{} {} units (median; {} at most) from the mean of the samples of their own search interval",
                    ageUs ? " and" : ",", Units(*distances.median), Units(*distances.largest));
    finding.figures.emplace_back("median_distance", *distances.median);
    finding.figures.emplace_back("largest_distance", *distances.largest);
  }
  if (auto const matched = facts.ReadoutDistances(Match::kStart).median; matched && distances.median) {
    finding.text += fmt::format(", where frames with a start are {} away", Units(*matched));
    finding.figures.emplace_back("median_distance_of_matched", *matched);
  }
  return finding;
}

// long_exposure. A frame gathers its light in exposure + readout, and the span is as long as the readout. Told when the
// exposure is the longer one in one frame in a hundred; no_readout tells those without one. Below that the span is at
// least as long as each row's exposure.
std::optional<SessionFinding> LongExposure(SessionFacts const& facts) {
  FrameList const& frames = facts.Matches().longExposures;
  if (!IsWorthTelling(frames, facts)) return std::nullopt;
  double const exposureUs = facts.MedianExposureUs().value_or(0);
  double const readoutUs = facts.MedianReadoutUs().value_or(0);
  double const share = readoutUs / std::max(exposureUs + readoutUs, 1.0);
  return SessionFinding{
      fmt::format("the exposure of {} is longer than the readout: the span stands for {:.0f} % of the time in which "
                  "their light was gathered",
                  FramesText(frames, facts), 100 * share),
      "take the position as that of the readout, not of the whole exposure",
      {{"exposure_us", exposureUs}, {"readout_us", readoutUs}, {"share", share}},
      frames};
}

// repeated. A repeated sample weighs twice in a mean. Reported from one sample in a hundred of the spans on.
std::optional<SessionFinding> Repeated(SessionFacts const& facts) {
  MatchFacts const& match = facts.Matches();
  double const share = Share(match.repeatedSamples, match.spanSamples);
  if (share < kWorthTelling) return std::nullopt;
  return SessionFinding{fmt::format("{:.0f} % of the samples in the spans are repeats, which weigh twice, in {}",
                                    100 * share, FramesText(match.repeated, facts)),
                        "drop what a batch repeats from the one before",
                        {{"share", share}},
                        match.repeated};
}

// mode_switch. Any frame with another readout time than the one before.
std::optional<SessionFinding> ModeSwitch(SessionFacts const& facts) {
  SwitchFacts const& switches = facts.Switches();
  if (switches.frames.count == 0) return std::nullopt;
  return SessionFinding{
      fmt::format("the readout time changed {} (first from {} to {}); {} frames right after lack an end near a sample",
                  Times(switches.frames.count), Milliseconds(switches.firstFromUs), Milliseconds(switches.firstToUs),
                  switches.unmatched.count),
      "store the new readout time before the first frame of the new mode",
      {{"switches", static_cast<double>(switches.frames.count)},
       {"unmatched", static_cast<double>(switches.unmatched.count)}},
      switches.frames,
      {},
      switches.unmatched.count > 0 ? Severity::kLost : Severity::kNote};
}

}  // namespace shadingctl::rules
