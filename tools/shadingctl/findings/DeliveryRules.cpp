// Rules about what was delivered to the library, and what it told.
#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "tools/shadingctl/findings/Rules.h"

namespace shadingctl::rules {
namespace {

constexpr double kGapFactor = 1.5;
constexpr double kOtherRate = 1.15;
constexpr std::int64_t kAfterGapNs = 100000000;  // in which frames still look for samples of the gap

// Frames lack later samples in one of the gaps.
bool LacksIn(std::vector<Interval> const& gaps, FrameList const& frames) {
  return std::any_of(gaps.begin(), gaps.end(), [&](Interval const& gap) {
    return std::any_of(frames.intervals.begin(), frames.intervals.end(), [&](Interval const& lack) {
      return TimeDifference(lack.toNs, gap.fromNs) >= 0 && TimeDifference(gap.toNs, lack.fromNs) >= -kAfterGapNs;
    });
  });
}

}  // namespace

// camera_off. Any frame for which the camera was not enabled.
std::optional<SessionFinding> CameraOff(SessionFacts const& facts) {
  FrameList const& off = facts.Matches().Of(StartCause::kOff);
  if (off.count == 0) return std::nullopt;
  return AboutFrames(
      off, facts, "the camera was not enabled for {}",
      "list the camera in the device's sensor map, and register and start its monitor before its first frame");
}

// not_told. The messages lack the window or the end of one frame in a hundred: the other rules stay silent about these.
std::optional<SessionFinding> NotTold(SessionFacts const& facts) {
  MatchFacts const& match = facts.Matches();
  FrameList const untold = Together(match.Of(StartCause::kUntold), match.untoldEnds);
  if (!IsWorthTelling(untold, facts)) return std::nullopt;
  return AboutFrames(untold, facts, "the messages do not tell where {} have their ends",
                     "run the library at log level 4, and capture its log without losing lines");
}

// batches. Any frame without a batch; what it cost are those of them without both ends near.
std::optional<SessionFinding> Batches(SessionFacts const& facts) {
  BatchFacts const& batches = facts.Batches();
  if (batches.missing.count == 0) return std::nullopt;
  bool const cameLater = facts.Samples().gaps == 0;
  return SessionFinding{
      fmt::format("{} frames came without samples{}; {} of these frames lack an end near a sample",
                  batches.missing.count, cameLater ? ", which all came later" : "", batches.missingUnmatched.count),
      "update after the platform has delivered",
      {{"missing", static_cast<double>(batches.missing.count)},
       {"unmatched", static_cast<double>(batches.missingUnmatched.count)}},
      batches.missing,
      {},
      batches.missingUnmatched.count > 0 ? Severity::kLost : Severity::kNote};
}

// discarded. Any batch that begins earlier than the one before: the library drops it in silence.
std::optional<SessionFinding> Discarded(SessionFacts const& facts) {
  FrameList const& discarded = facts.Batches().discarded;
  if (discarded.count == 0) return std::nullopt;
  return SessionFinding{
      fmt::format(
          "BATCHES WERE DROPPED: the library discarded {} of {}, as it does in silence with a batch that begins "
          "earlier than the one before",
          discarded.count, facts.Samples().batches),
      "deliver each sample once, in the order of time",
      {{"batches", static_cast<double>(discarded.count)}},
      discarded};
}

// gaps. Any interval between samples of more than 1.5 times the median, as long as samples are dense enough to be near
// every start; otherwise only from three intervals on. A note where no frame looks for an end in one, nor lacks later
// samples then.
std::optional<SessionFinding> Gaps(SessionFacts const& facts) {
  auto const samples = facts.Samples();
  if (samples.gaps == 0 || !samples.longestUs || *samples.longestUs <= kNearWidthUs) return std::nullopt;
  std::vector<Interval> intervals;
  for (LensWindow const& window : facts.Lens().Windows()) {
    double const longestUs = static_cast<double>(window.longestIntervalNs) / 1e3;
    if (longestUs > std::max(kNearWidthUs, kGapFactor * *samples.intervalUs) &&
        2 * longestUs > kGapFactor * static_cast<double>(window.usualIntervalNs) / 1e3) {
      AddTo(intervals, window.longestAt);
    }
  }
  FrameList const& inGaps = facts.Matches().inGaps;
  bool const costsFrames =
      inGaps.count > 0 || LacksIn(intervals, facts.Matches().lacking) || LacksIn(intervals, facts.Matches().late);
  return SessionFinding{fmt::format("the samples pause {}, for {}{}", Times(samples.gaps),
                                    Milliseconds(*samples.longestUs), samples.gaps == 1 ? "" : " at most"),
                        "look for a paused stabiliser or a lost batch at these times",
                        {{"gaps", static_cast<double>(samples.gaps)}, {"longest_us", *samples.longestUs}},
                        inGaps,
                        intervals,
                        costsFrames ? Severity::kLost : Severity::kNote};
}

// rate_change. The usual interval between samples changes by 15 % or more from one window to the next but one and stays
// there for another window; the window between holds both rates.
std::optional<SessionFinding> RateChange(SessionFacts const& facts) {
  auto const& windows = facts.Lens().Windows();
  auto const intervalUs = [&](std::size_t i) { return static_cast<double>(windows[i].usualIntervalNs) / 1e3; };
  auto const differ = [&](std::size_t i, std::size_t j) {
    return std::abs(std::log(intervalUs(j) / intervalUs(i))) > std::log(kOtherRate);
  };
  for (std::size_t i = 0; i + 3 < windows.size(); ++i) {
    if (!differ(i, i + 2) || differ(i + 2, i + 3) || (i > 0 && differ(i - 1, i))) continue;
    Interval at = windows[differ(i, i + 1) ? i + 1 : i + 2].interval;
    at.toNs = windows.back().interval.toNs;
    at.lastFrame = windows.back().interval.lastFrame;
    double const fromHz = kUsInS / intervalUs(i);
    double const toHz = kUsInS / intervalUs(i + 2);
    return SessionFinding{fmt::format("the rate of the samples changes from {:.0f} Hz to {:.0f} Hz", fromHz, toHz),
                          "look for who else sets the sensor's rate",
                          {{"from_hz", fromHz}, {"to_hz", toHz}},
                          {},
                          {at}};
  }
  return std::nullopt;
}

}  // namespace shadingctl::rules
