// Rules about the host's calls and their times.
#include <fmt/format.h>

#include <algorithm>

#include "tools/shadingctl/findings/RuleWords.h"
#include "tools/shadingctl/findings/Rules.h"

namespace shadingctl::rules {
namespace {

constexpr double kUsualAgeUs = 5000;  // of the newest sample when it comes, besides two sample intervals

}  // namespace

// call_order. One frame in a hundred is computed before its own update. A note where none of them loses an end.
std::optional<SessionFinding> CallOrder(SessionFacts const& facts) {
  BatchFacts const& batches = facts.Batches();
  if (!IsWorthTelling(batches.afterwards.count, facts)) return std::nullopt;
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
  if (delivery.IsEmpty() || !delivery.HasCallTimes()) return false;
  return -delivery.OverCallUs() > kUsualAgeUs + 2 * facts.TrueIntervalUs().value_or(0);
}

// late_delivery. With call times: the median of the newest samples is older when it comes than 5 ms and two sample
// intervals. A note unless one frame in a hundred lacks samples that were taken well before the call.
std::optional<SessionFinding> LateDelivery(SessionFacts const& facts) {
  if (!IsDeliveredLate(facts)) return std::nullopt;
  double const ageUs = -facts.Delivery().OverCallUs();
  FrameList const& late = facts.Matches().late;
  bool const costsFrames = IsWorthTelling(late.count, facts);
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
