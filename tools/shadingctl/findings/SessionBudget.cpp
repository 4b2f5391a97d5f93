#include "tools/shadingctl/findings/SessionBudget.h"

#include <algorithm>
#include <cmath>

namespace shadingctl {
namespace {

constexpr double kLongestUs = 1e9;  // of an interval, an exposure or a readout

bool IsPlausible(std::optional<double> const& us) { return us && *us >= 1 && *us <= kLongestUs; }

std::int64_t ToNs(double us) { return std::llround(us * 1e3); }

}  // namespace

std::optional<SessionBudget> BudgetOf(SessionFacts const& facts) {
  auto const hallIntervalUs = facts.TrueIntervalUs();
  auto const frameIntervalUs = facts.FrameIntervalUs();
  auto const exposureUs = facts.MedianExposureUs();
  auto const readoutUs = facts.MedianReadoutUs();
  for (auto const& us : {hallIntervalUs, frameIntervalUs, exposureUs, readoutUs}) {
    if (!IsPlausible(us)) return std::nullopt;
  }
  Timing timing;
  timing.hallIntervalNs = ToNs(*hallIntervalUs);
  timing.frameIntervalNs = ToNs(*frameIntervalUs);
  timing.exposureNs = ToNs(*exposureUs);
  timing.readoutNs = ToNs(*readoutUs);
  if (!facts.Delivery().IsEmpty()) {
    std::int64_t const leadNs = ToNs(std::min(facts.Delivery().OverFrameUs(0), kLongestUs));
    timing.deliveryDelayNs = std::max(leadNs, timing.readoutNs) - timing.readoutNs;
  }
  Budget const budget = MakeBudget(timing);
  return SessionBudget{*hallIntervalUs, *exposureUs, *readoutUs, static_cast<double>(budget.reachBackNs) / 1e3,
                       budget.limits};
}

}  // namespace shadingctl
