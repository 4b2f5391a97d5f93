// Rules about what the host tells of its frames, and when it calls.
#include <fmt/format.h>

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

}  // namespace shadingctl::rules
