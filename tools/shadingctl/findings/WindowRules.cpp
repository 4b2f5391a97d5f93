// Rules about what the library's window reaches.
#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "tools/shadingctl/budget/Budget.h"
#include "tools/shadingctl/findings/Rules.h"

namespace shadingctl::rules {
namespace {

constexpr double kNeededSamplesPerFrame =
    static_cast<double>(kWindowSize) / static_cast<double>(kHistoryFrames);  // that fill the history
constexpr double kLongestWaitUs = 500e3;                                     // no host computes so much later
constexpr double kLongestUs = 1e9;                                           // of a median time that can be real

std::int64_t ToNs(double us) { return std::llround(us * 1e3); }

// What the session allows in closed form, as if its samples and frames came evenly, at their mean rates and with their
// median times. nullopt where one of these is not known, or cannot be real.
std::optional<Budget> BudgetOf(SessionFacts const& facts) {
  Timing timing;
  for (auto const& [us, ns] : {std::pair(facts.TrueIntervalUs(), &timing.hallIntervalNs),
                               std::pair(facts.FrameIntervalUs(), &timing.frameIntervalNs),
                               std::pair(facts.MedianExposureUs(), &timing.exposureNs),
                               std::pair(facts.MedianReadoutUs(), &timing.readoutNs)}) {
    if (!us || !(*us >= 1 && *us <= kLongestUs)) return std::nullopt;
    *ns = ToNs(*us);
  }
  if (!facts.Delivery().IsEmpty()) {
    std::int64_t const leadNs = ToNs(std::min(facts.Delivery().OverFrameUs(0), kLongestUs));
    timing.deliveryDelayNs = std::max(leadNs, timing.readoutNs) - timing.readoutNs;
  }
  return MakeBudget(timing);
}

}  // namespace

// history. The library keeps 30 frames and answers from 100 samples on: it needs 100 / 30 samples a frame. Any frame
// after the warm-up that found fewer; or one in a hundred whose start lies before the history, unless the clocks
// differ.
std::optional<SessionFinding> History(SessionFacts const& facts) {
  FrameList const& tooLittle = facts.Matches().Of(StartCause::kTooLittleHistory);
  FrameList const& beginsLate = facts.Matches().Of(StartCause::kHistoryBeginsLate);
  bool const tellsLate = IsWorthTelling(beginsLate, facts) && !HasSteadyOffset(facts);
  if (tooLittle.count == 0 && !tellsLate) return std::nullopt;
  double const samplesPerFrame = facts.SamplesPerFrame().value_or(0);
  SessionFinding finding{
      "", "", {{"samples_per_frame", samplesPerFrame}, {"needed", kNeededSamplesPerFrame}}, tooLittle};
  if (tooLittle.count > 0) {
    finding.text = fmt::format(
        "{} found fewer than 100 samples in the history of 30 frames, which takes {:.2f} samples "
        "a frame ({:.2f} were delivered)",
        FramesText(tooLittle, facts), kNeededSamplesPerFrame, samplesPerFrame);
  }
  if (tellsLate) {
    finding.frames = Together(tooLittle, beginsLate);
    finding.text += fmt::format("{}the start of {} lies before the whole history", finding.text.empty() ? "" : ", and ",
                                FramesText(beginsLate, facts));
  }
  auto const frameUs = facts.FrameIntervalUs();
  auto const rateHz = facts.Samples().rateHz;
  if (samplesPerFrame >= kNeededSamplesPerFrame || !frameUs || !rateHz) {
    finding.advice = facts.Samples().gaps > 0 ? "look for what stops the samples" : "compute nearer to the frame";
  } else {
    finding.advice =
        fmt::format("at {:.0f} frames a second sample at {:.0f} Hz or more, or update every other frame only",
                    kUsInS / *frameUs, std::ceil(kNeededSamplesPerFrame * kUsInS / *frameUs));
  }
  return finding;
}

// sampling. A start is near when it lies within 2 * 1500 - 1 us of some place in each sample interval; with random
// phase that is so for 2999 us / interval of the frames. Told when frames whose window reaches over an end of the
// search interval have no sample near it, and the interval is longer than 2999 us. When the frame interval is so near a
// multiple of the sample interval that the phase drifts by less than half an interval in the whole session, phase
// decides all or nothing.
std::optional<SessionFinding> Sampling(SessionFacts const& facts) {
  MatchFacts const& match = facts.Matches();
  FrameList const between = Together(match.Of(StartCause::kBetweenSamples), match.Of(EndCause::kBetweenSamples));
  auto const samples = facts.Samples();
  auto const intervalUs = facts.TrueIntervalUs();
  bool const isDense = intervalUs && *intervalUs + 2 * samples.jitterUs.value_or(0) <= kNearWidthUs;
  if (between.count == 0 || !intervalUs || isDense) return std::nullopt;
  std::uint64_t const near = match.Of(StartCause::kNear).count;
  std::uint64_t const candidates = near + match.Of(StartCause::kBetweenSamples).count;
  double const chance = std::min(kNearWidthUs / *intervalUs, 1.0);
  SessionFinding finding{
      fmt::format(
          "samples are {} apart, and 1500 us are allowed: with random phase {:.0f} % of the starts can be near one, "
          "{} of {} are ({:.0f} %)",
          Milliseconds(*intervalUs), 100 * chance, near, candidates, 100 * Share(near, candidates)),
      fmt::format("sample at {:.0f} Hz or more", std::ceil(kUsInS / kNearWidthUs)),
      {{"interval_us", *intervalUs}, {"chance", chance}, {"near", Share(near, candidates)}},
      between};
  auto const frameUs = facts.FrameIntervalUs();
  if (frameUs && samples.rateHz && *frameUs > 0) {
    double const perFrame = *frameUs / (kUsInS / *samples.rateHz);
    double const drift = std::abs(perFrame - std::round(perFrame)) * static_cast<double>(match.frames);
    if (std::round(perFrame) >= 1 && drift < 0.5) {
      finding.text += "; the frame rate is locked to the sample rate, so the phase decides for all frames alike";
      finding.advice += ", or shift the phase of one of the two";
      finding.figures.emplace_back("phase_drift_samples", drift);
    }
  }
  return finding;
}

// reach_backward. The search interval begins exposure + 0.5432 * min(exposure, readout) + 166 us before the frame's
// timestamp, and the window 50 samples before it. Told when the window of one frame in a hundred begins after the start
// it looks for.
std::optional<SessionFinding> ReachBackward(SessionFacts const& facts) {
  FrameList const& late = facts.Matches().Of(StartCause::kWindowBeginsLate);
  auto const budget = IsWorthTelling(late, facts) ? BudgetOf(facts) : std::nullopt;
  if (!budget) return std::nullopt;
  double const intervalUs = *facts.TrueIntervalUs();
  double const reachUs = hosting::kSamplesBefore * intervalUs;
  double const startUs = static_cast<double>(budget->reachBackNs) / 1e3;
  SessionFinding finding{
      fmt::format("the window of {} begins after the search interval does: at {:.0f} Hz its 50 samples reach "
                  "{} back, and after {} of exposure the search interval begins {} before the timestamp",
                  FramesText(late, facts), kUsInS / intervalUs, Milliseconds(reachUs),
                  Milliseconds(*facts.MedianExposureUs()), Milliseconds(startUs)),
      "",
      {{"reach_us", reachUs}, {"start_before_timestamp_us", startUs}},
      late};
  if (budget->limits.longestExposureNs) {
    double const longestUs = static_cast<double>(*budget->limits.longestExposureNs) / 1e3;
    finding.figures.emplace_back("longest_exposure_us", longestUs);
    finding.advice = fmt::format("expose for {} at most", Milliseconds(longestUs));
  }
  if (budget->limits.highestStartHz) {
    finding.figures.emplace_back("highest_hall_rate_hz", *budget->limits.highestStartHz);
    finding.advice += fmt::format("{}hand over at most {:.0f} samples a second", finding.advice.empty() ? "" : ", or ",
                                  std::floor(*budget->limits.highestStartHz));
  }
  return finding;
}

// reach_forward. The window ends 49 samples after the timestamp. Told when for one frame in a hundred the start is near
// and the window ends before the search interval, though later samples were there.
std::optional<SessionFinding> ReachForward(SessionFacts const& facts) {
  FrameList const& early = facts.Matches().Of(EndCause::kWindowEndsEarly);
  auto const budget = IsWorthTelling(early, facts) ? BudgetOf(facts) : std::nullopt;
  if (!budget) return std::nullopt;
  double const reachUs = hosting::kSamplesAfter * *facts.TrueIntervalUs();
  double const coverage = facts.Matches().coverage.Median().value_or(0) / 1e6;
  double const length = facts.Matches().lengthShare.Median().value_or(0) / 1e6;
  SessionFinding finding{
      fmt::format("the span of {} ends with the window, 49 samples or {} after the timestamp, before the "
                  "search interval does: it is {:.0f} % as long as that and covers {:.0f} % of it (medians)",
                  FramesText(early, facts), Milliseconds(reachUs), 100 * length, 100 * coverage),
      "hand over fewer samples a second",
      {{"reach_us", reachUs}, {"length_share", length}, {"coverage", coverage}},
      early};
  if (auto const highestHz = budget->limits.highestEndHz) {
    finding.advice = fmt::format("hand over at most {:.0f} samples a second", std::floor(*highestHz));
    finding.figures.emplace_back("highest_hall_rate_hz", *highestHz);
  }
  return finding;
}

// not_delivered. The end of the search interval, or the timestamp, lies after the newest sample in the history, of one
// frame in a hundred, unless the clocks differ. Frames that late_delivery tells of are left out where calls have times.
std::optional<SessionFinding> NotDelivered(SessionFacts const& facts) {
  MatchFacts const& match = facts.Matches();
  FrameList const frames = IsDeliveredLate(facts) ? match.lacking : Together(match.lacking, match.late);
  if (!IsWorthTelling(frames, facts) || HasSteadyOffset(facts) || match.shortfallNs.IsEmpty()) return std::nullopt;
  double const leastUs = static_cast<double>(match.shortfallNs.least) / 1e3;
  double const greatestUs = static_cast<double>(match.shortfallNs.greatest) / 1e3;
  bool const canWait = greatestUs < kLongestWaitUs;
  std::string advice = canWait ? fmt::format("compute {} later", Milliseconds(greatestUs)) : "";
  if (!facts.Delivery().IsEmpty() && !facts.Delivery().HasCallTimes()) {
    advice += fmt::format("{}have the platform deliver sooner, or look for a clock of the samples that is behind{}",
                          canWait ? ", " : "", canWait ? " by as much" : "");
  }
  return SessionFinding{
      fmt::format("{} were computed before their samples came: their search interval ended {} after the newest sample "
                  "in the library",
                  FramesText(frames, facts), FromTo(leastUs, greatestUs)),
      advice.empty() ? "see whether samples come at all" : advice,
      {{"shortfall_least_us", leastUs}, {"shortfall_greatest_us", greatestUs}},
      frames};
}

}  // namespace shadingctl::rules
