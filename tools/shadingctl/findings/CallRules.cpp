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

// late_delivery. With call times: one frame in a hundred lacks later samples though it was computed 1500 us or more
// after they were taken, or the newest sample is older than usual when it comes, which is a note.
std::optional<SessionFinding> LateDelivery(SessionFacts const& facts) {
  DeliveryFacts const& delivery = facts.Delivery();
  if (delivery.IsEmpty() || !delivery.HasCallTimes()) return std::nullopt;
  double const ageUs = -delivery.OverCallUs();
  FrameList const& late = facts.Matches().late;
  bool const costsFrames = IsWorthTelling(late.count, facts);
  bool const isOld = ageUs > kUsualAgeUs + 2 * facts.TrueIntervalUs().value_or(0);
  if (!costsFrames && !isOld) return std::nullopt;
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
