// Rules about what was delivered to the library, and what it told.
#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "tools/shadingctl/findings/RuleWords.h"
#include "tools/shadingctl/findings/Rules.h"

namespace shadingctl::rules {

// camera_off. Any frame for which the camera was not enabled.
std::optional<SessionFinding> CameraOff(SessionFacts const& facts) {
  FrameList const& off = facts.Matches().Of(StartCause::kOff);
  if (off.count == 0) return std::nullopt;
  return SessionFinding{
      "camera_off",
      fmt::format("the camera was not enabled for {}", FramesText(off, facts)),
      "list the camera in the device's sensor map, and register and start its monitor before its first frame",
      {},
      off};
}

// not_told. The messages lack the window or the end of one frame in a hundred: the other rules stay silent about these.
std::optional<SessionFinding> NotTold(SessionFacts const& facts) {
  MatchFacts const& match = facts.Matches();
  FrameList const untold = Together(match.Of(StartCause::kUntold), match.untoldEnds);
  if (!IsWorthTelling(untold.count, facts)) return std::nullopt;
  return SessionFinding{"not_told",
                        fmt::format("the messages do not tell where {} have their ends", FramesText(untold, facts)),
                        "run the library at log level 4, and capture its log without losing lines",
                        {},
                        untold};
}

// batches. Any frame without a batch; what it cost are those of them without both ends near.
std::optional<SessionFinding> Batches(SessionFacts const& facts) {
  BatchFacts const& batches = facts.Batches();
  if (batches.missing.count == 0) return std::nullopt;
  bool const cameLater = facts.Samples().gaps == 0;
  return SessionFinding{
      "batches",
      fmt::format("{} frames came without samples{}; {} of these frames lack an end near a sample",
                  batches.missing.count, cameLater ? ", which all came later" : "", batches.missingUnmatched.count),
      "update after the platform has delivered",
      {{"missing", static_cast<double>(batches.missing.count)},
       {"unmatched", static_cast<double>(batches.missingUnmatched.count)}},
      batches.missing};
}

// discarded. Any batch that began before the one before it began: the library drops it in silence.
std::optional<SessionFinding> Discarded(SessionFacts const& facts) {
  std::uint64_t const discarded = facts.Batches().discarded;
  if (discarded == 0) return std::nullopt;
  return SessionFinding{
      "discarded",
      fmt::format("the library discarded {} of {} batches, because they began before the batch before began", discarded,
                  facts.Samples().batches),
      "deliver each sample once, in the order of time",
      {{"batches", static_cast<double>(discarded)}},
      {}};
}

// gaps. Any interval between samples of more than 1.5 times the median, as long as samples are dense enough to be near
// every start; otherwise only from three intervals on.
std::optional<SessionFinding> Gaps(SessionFacts const& facts) {
  auto const samples = facts.Samples();
  if (samples.gaps == 0 || !samples.longestUs || *samples.longestUs <= kNearWidthUs) return std::nullopt;
  return SessionFinding{"gaps",
                        fmt::format("the samples pause {}, for {}{}", Times(samples.gaps),
                                    Milliseconds(*samples.longestUs), samples.gaps == 1 ? "" : " at most"),
                        "look for a paused stabiliser or a lost batch at these times",
                        {{"gaps", static_cast<double>(samples.gaps)}, {"longest_us", *samples.longestUs}},
                        {}};
}

}  // namespace shadingctl::rules
