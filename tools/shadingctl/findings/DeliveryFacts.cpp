#include "tools/shadingctl/findings/DeliveryFacts.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "tools/shadingctl/statistics/Median.h"

namespace shadingctl {
namespace {

constexpr std::size_t kSide = 30;      // frames on either side of a step: as many as the history holds
constexpr double kLeastStepUs = 5000;  // below it no step is told, nor below 1.5 sample intervals
constexpr double kStepIntervals = 1.5;
constexpr double kStepTop = 0.9;           // of the height of a peak: the step lies in the middle of what reaches that
constexpr double kLeastTrendUs = 1500;     // besides one sample interval
constexpr double kOtherEpochUs = 60e6;     // no call is so much later than its frame
constexpr std::size_t kTrendPoints = 200;  // of which all pairs are compared
constexpr double kTrendErrors = 5.5;       // of the width of the leads over the root of their number: about 5 sigma
constexpr double kSteady = 0.15;  // of the trend, that lies at least between neighbouring thirds of the session

std::vector<double> Part(std::vector<double> const& values, std::size_t from, std::size_t to) {
  return {values.begin() + static_cast<std::ptrdiff_t>(from), values.begin() + static_cast<std::ptrdiff_t>(to)};
}

double Width(std::vector<double> const& values) { return AtShare(values, 0.95) - AtShare(values, 0.05); }

// The leads less their common trend, which is the median rise over kSide frames: a step touches few of those.
std::vector<double> WithoutTrend(std::vector<double> leads) {
  std::vector<double> rises;
  for (std::size_t i = kSide; i < leads.size(); ++i) rises.push_back(leads[i] - leads[i - kSide]);
  double const slope = AtShare(std::move(rises), 0.5) / kSide;
  for (std::size_t i = 0; i < leads.size(); ++i) leads[i] -= slope * static_cast<double>(i);
  return leads;
}

// At each place the median of the frames after it less that of the frames before it; 0 near the ends.
std::vector<double> Differences(std::vector<double> const& leads) {
  std::vector<double> differences(leads.size(), 0.0);
  for (std::size_t i = kSide; i + kSide <= leads.size(); ++i) {
    differences[i] = AtShare(Part(leads, i, i + kSide), 0.5) - AtShare(Part(leads, i - kSide, i), 0.5);
  }
  return differences;
}

}  // namespace

double DeliveryFacts::OverFrameUs(double share) const {
  std::vector<double> leads;
  for (Lead const& lead : mLeads) leads.push_back(static_cast<double>(lead.overFrameNs) / 1e3);
  return AtShare(std::move(leads), share);
}

std::optional<double> DeliveryFacts::CallDelayUs() const {
  std::vector<double> delays;
  for (Lead const& lead : mLeads) {
    if (lead.overCallNs)
      delays.push_back(static_cast<double>(TimeDifference(lead.overFrameNs, *lead.overCallNs)) / 1e3);
  }
  if (delays.size() < mLeads.size() || delays.empty()) return std::nullopt;
  return AtShare(std::move(delays), 0.5);
}

bool DeliveryFacts::HasCallTimes() const {
  auto const delayUs = CallDelayUs();
  return delayUs && std::abs(*delayUs) < kOtherEpochUs;
}

double DeliveryFacts::OverCallUs() const { return AtShare(ClockLeadsUs(true), 0.5); }

std::vector<double> DeliveryFacts::ClockLeadsUs(bool sinceReadout) const {
  bool const hasCalls = HasCallTimes();
  std::vector<double> leads;
  for (Lead const& lead : mLeads) {
    std::int64_t const overFrameNs = TimeDifference(lead.overFrameNs, sinceReadout ? lead.readoutNs : 0);
    leads.push_back(static_cast<double>(hasCalls ? *lead.overCallNs : overFrameNs) / 1e3);
  }
  return leads;
}

// Calls come after the readout, or at a time of their own: a step shows in both leads, a mode switch in one of them.
std::vector<ClockStep> DeliveryFacts::Steps(double sampleIntervalUs) const {
  std::vector<ClockStep> steps;
  if (mLeads.size() < 2 * kSide) return steps;
  std::vector<double> const leads = WithoutTrend(ClockLeadsUs(true));
  std::vector<double> differences = Differences(leads);
  std::vector<double> const others = Differences(WithoutTrend(ClockLeadsUs(false)));
  for (std::size_t i = 0; i < differences.size(); ++i) {
    if (differences[i] * others[i] <= 0) differences[i] = 0;
    if (std::abs(others[i]) < std::abs(differences[i])) differences[i] = others[i];
  }
  double const least = std::max(kLeastStepUs, kStepIntervals * sampleIntervalUs);
  auto const isHigh = [&](double difference) { return std::abs(difference) >= least; };
  auto const isLower = [](double one, double other) { return std::abs(one) < std::abs(other); };
  auto const end = differences.end();
  std::size_t before = 0;  // the place of the step before
  for (auto begin = differences.begin(); (begin = std::find_if(begin, end, isHigh)) != end;) {
    auto const peakEnd =
        std::find_if(begin, end, [&, isUp = *begin > 0](double one) { return !isHigh(one) || (one > 0) != isUp; });
    double const height = *std::max_element(begin, peakEnd, isLower);
    auto const isTop = [&](double one) { return std::abs(one) >= kStepTop * std::abs(height); };
    auto const first = std::find_if(begin, peakEnd, isTop);
    auto const last = std::find_if(std::reverse_iterator(peakEnd), std::reverse_iterator(first), isTop).base() - 1;
    auto const at = static_cast<std::size_t>(first - differences.begin() + last - differences.begin()) / 2;
    double const width =
        std::max(Width(Part(leads, std::max(before, at - kSide), at)), Width(Part(leads, at, at + kSide)));
    begin = std::find_if_not(peakEnd, end, isHigh);
    if (std::abs(height) < width) continue;
    steps.push_back({{mLeads[at].frameNs, mLeads[at].frameNs, mLeads[at].frame, mLeads[at].frame}, height});
    before = at;
  }
  return steps;
}

std::optional<ClockTrend> DeliveryFacts::Trend(double sampleIntervalUs) const {
  auto const one = TrendOf(ClockLeadsUs(true), sampleIntervalUs);
  auto const other = TrendOf(ClockLeadsUs(false), sampleIntervalUs);
  if (!one || !other || one->us * other->us < 0) return std::nullopt;
  return std::abs(one->us) < std::abs(other->us) ? one : other;
}

std::optional<ClockTrend> DeliveryFacts::TrendOf(std::vector<double> const& leads, double sampleIntervalUs) const {
  if (leads.size() < 2 * kSide) return std::nullopt;
  std::size_t const stride = leads.size() / kTrendPoints + 1;
  auto const timeUs = [&](std::size_t i) {
    return static_cast<double>(TimeDifference(mLeads[i].frameNs, mLeads.front().frameNs)) / 1e3;
  };
  std::vector<double> slopes;
  for (std::size_t i = 0; i < leads.size(); i += stride) {
    for (std::size_t j = i + stride; j < leads.size(); j += stride) {
      if (timeUs(j) > timeUs(i)) slopes.push_back((leads[j] - leads[i]) / (timeUs(j) - timeUs(i)));
    }
  }
  if (slopes.empty()) return std::nullopt;
  double const slope = AtShare(std::move(slopes), 0.5);
  double const totalUs = slope * timeUs(leads.size() - 1);
  std::vector<double> rest;
  for (std::size_t i = 0; i < leads.size(); ++i) rest.push_back(leads[i] - slope * timeUs(i));
  double const errorUs = kTrendErrors * Width(rest) / std::sqrt(static_cast<double>(leads.size()));
  if (std::abs(totalUs) <= std::max(kLeastTrendUs + sampleIntervalUs, errorUs)) return std::nullopt;
  double thirds[3];
  for (std::size_t i = 0; i < 3; ++i)
    thirds[i] = AtShare(Part(leads, i * leads.size() / 3, (i + 1) * leads.size() / 3), 0.5);
  bool const isSteady = (thirds[1] - thirds[0]) / totalUs >= kSteady && (thirds[2] - thirds[1]) / totalUs >= kSteady;
  return isSteady ? std::optional(ClockTrend{1e6 * slope, totalUs}) : std::nullopt;
}

}  // namespace shadingctl
