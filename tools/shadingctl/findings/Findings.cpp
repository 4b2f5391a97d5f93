#include "tools/shadingctl/findings/Findings.h"

#include <fmt/format.h>

#include <algorithm>

#include "tools/shadingctl/findings/Rules.h"

namespace shadingctl {
namespace {

// Which findings follow from which others. A finding that was told explains another one, unless it is explained itself.
constexpr struct Consequence {
  std::string_view code;
  std::string_view causes[17];  // the first one that was told counts; unused places are empty, and name none
} kConsequences[] = {
    {"clock_offset", {"call_order"}},
    {"clock_jump", {"frame_times", "call_order"}},
    {"clock_drift", {"frame_times", "call_order", "clock_jump"}},
    {"clock_ahead", {"frame_times", "clock_jump", "clock_drift"}},
    {"late_delivery", {"clock_offset", "clock_jump", "clock_drift", "gaps", "discarded", "call_order", "rate_change"}},
    {"call_order", {"frame_times"}},
    {"gaps", {"clock_jump", "rate_change", "discarded"}},
    {"rate_change", {"clock_jump", "gaps"}},
    {"discarded", {"clock_jump"}},
    {"history",
     {"clock_offset", "clock_ahead", "clock_jump", "clock_drift", "frame_times", "gaps", "rate_change", "discarded",
      "late_delivery"}},
    {"sampling", {"held", "rate_change", "clock_jump", "gaps", "discarded"}},
    {"reach_backward", {"clock_ahead", "clock_jump", "clock_drift", "frame_times", "rate_change"}},
    {"reach_forward", {"clock_jump", "clock_drift", "frame_times", "no_exposure", "rate_change"}},
    {"batches", {"gaps", "late_delivery", "clock_jump"}},
    {"not_delivered",
     {"clock_offset", "call_order", "late_delivery", "clock_jump", "clock_drift", "frame_times", "no_exposure", "gaps",
      "batches", "discarded", "rate_change"}},
    {"carried",
     {"clock_offset", "call_order", "clock_jump", "clock_ahead", "clock_drift", "frame_times", "late_delivery", "gaps",
      "discarded", "rate_change", "no_readout", "no_exposure", "history", "sampling", "reach_backward", "not_delivered",
      "batches"}},
    {"mode_switch", {"no_readout", "sampling"}},
    {"held", {"still"}},
    {"steps", {"still", "dead_axis"}},
    {"end_stop", {"still", "dead_axis", "steps"}},
    {"dead_axis", {"still"}},
};

// A cause that is told of a stretch of time explains what begins in it or later, within a window.
bool CanExplain(SessionFinding const& cause, SessionFinding const& finding) {
  if (!cause.explainedBy.empty()) return false;
  bool const isOfAllTimes = cause.code == "frame_times" || cause.code == "call_order";
  if (isOfAllTimes || cause.intervals.empty() || finding.intervals.empty()) return true;
  return TimeDifference(finding.intervals.front().fromNs, cause.intervals.front().fromNs) >= -kWindowNs;
}

void Explain(std::vector<SessionFinding>& findings) {
  auto const find = [&](std::string_view code) {
    return std::find_if(findings.begin(), findings.end(), [code](auto const& one) { return one.code == code; });
  };
  for (Consequence const& consequence : kConsequences) {
    auto const finding = find(consequence.code);
    if (finding == findings.end()) continue;
    for (std::string_view const code : consequence.causes) {
      auto const cause = find(code);
      if (cause == findings.end() || !CanExplain(*cause, *finding)) continue;
      finding->explainedBy = code;
      finding->severity = Severity::kNote;
      break;
    }
  }
}

// same_samples. The fingerprints of two cameras' samples have half of their hashes in common.
std::optional<SessionFinding> SameSamples(SessionFacts const& facts, std::vector<SessionFacts const*> const& others) {
  std::set<std::uint64_t> const& own = facts.Fingerprint();
  for (SessionFacts const* const other : others) {
    std::set<std::uint64_t> const& theirs = other->Fingerprint();
    auto const common =
        std::count_if(own.begin(), own.end(), [&](std::uint64_t hash) { return theirs.count(hash) > 0; });
    if (other == &facts || own.empty() || 2 * static_cast<std::size_t>(common) < own.size()) continue;
    return SessionFinding{
        "another camera is fed with the very same samples: one of the two lenses is not the one that "
        "these positions tell of",
        "give each camera's monitor the sensor type of its own lens"};
  }
  return std::nullopt;
}

}  // namespace

char const* Name(Severity severity) {
  constexpr char const* kNames[] = {"wrong", "lost", "note"};
  return kNames[static_cast<std::size_t>(severity)];
}

std::uint64_t CostOf(SessionFinding const& finding, SessionFacts const& facts) {
  if (finding.frames.count > 0 || finding.severity != Severity::kWrong) return finding.frames.count;
  std::uint64_t frames = 0;
  for (Interval const& interval : finding.intervals) {
    frames += std::uint64_t{interval.lastFrame - interval.firstFrame} + 1;
  }
  std::uint64_t const all = facts.Matches().Settled();
  return finding.intervals.empty() ? all : std::min(frames, all);
}

std::string NumbersText(FrameList const& frames) {
  return fmt::format("{}{}", fmt::join(frames.first, ", "), frames.count > frames.first.size() ? ", ..." : "");
}

std::string PlaceText(SessionFinding const& finding, SessionFacts const& facts) {
  std::string text;
  FrameList const& frames = finding.frames;
  if (frames.count > 0) text = (frames.count == 1 ? "frame " : "frames ") + NumbersText(frames);
  if (!finding.intervals.empty()) {
    Interval const& interval = finding.intervals.front();
    double const fromS = static_cast<double>(TimeDifference(interval.fromNs, facts.FirstFrameNs())) / 1e9;
    double const toS = fromS + static_cast<double>(interval.LengthNs()) / 1e9;
    text += fmt::format("{}from {:.3f} s{}", text.empty() ? "" : "; ", fromS,
                        interval.toNs == interval.fromNs ? "" : fmt::format(" to {:.3f} s", toS));
    if (finding.intervals.size() > 1) text += fmt::format(", the first of {}", finding.intervals.size());
  }
  return text.empty() ? text : " [" + text + "]";
}

std::vector<FindingKind> const& FindingKinds() {
  constexpr auto kWrong = Severity::kWrong;
  constexpr auto kLost = Severity::kLost;
  constexpr auto kNote = Severity::kNote;
  constexpr auto kNothing = Needs::kNothing;
  constexpr auto kMessages = Needs::kMessages;
  // What makes everything else meaningless comes first, then what costs positions, then what to know about them.
  static std::vector<FindingKind> const kinds = {
      {"units", kWrong, kNothing, "frame_interval_us, sample_interval_us, exposure_us, readout_us", rules::WrongUnits},
      {"frame_times", kWrong, kNothing, "", rules::FrameTimes},
      {"no_exposure", kWrong, kMessages, "", rules::NoExposure},
      {"no_readout", kLost, kMessages, "", rules::NoReadout},
      {"camera_off", kLost, kNothing, "", rules::CameraOff},
      {"not_told", kNote, kNothing, "", rules::NotTold},
      {"same_samples", kWrong, kNothing, "", nullptr},
      {"clock_offset", kWrong, kMessages, "least_us, greatest_us", rules::ClockOffset},
      {"clock_jump", kWrong, kNothing, "jumps, largest_us", rules::ClockJump},
      {"clock_drift", kWrong, kNothing, "ppm, total_us", rules::ClockDrift},
      {"clock_ahead", kWrong, Needs::kCallTimes, "median_us", rules::ClockAhead},
      {"call_order", kLost, kNothing, "unmatched", rules::CallOrder},
      {"late_delivery", kLost, Needs::kCallTimes, "median_us", rules::LateDelivery},
      {"still", kWrong, kNothing, "range_x, range_y", rules::Still},
      {"dead_axis", kWrong, kNothing, "range_x, range_y", rules::DeadAxis},
      {"steps", kWrong, kNothing, "largest, range", rules::Steps},
      {"held", kWrong, kNothing, "samples, rate_hz", rules::Held},
      {"discarded", kLost, kMessages, "batches", rules::Discarded},
      {"history", kLost, kMessages, "samples_per_frame, needed", rules::History},
      {"sampling", kLost, kMessages, "interval_us, chance, near, phase_drift_samples", rules::Sampling},
      {"reach_backward", kLost, kMessages,
       "reach_us, start_before_timestamp_us, longest_exposure_us, highest_hall_rate_hz", rules::ReachBackward},
      {"reach_forward", kWrong, kMessages, "reach_us, length_share, coverage, highest_hall_rate_hz",
       rules::ReachForward},
      {"not_delivered", kLost, kMessages, "shortfall_least_us, shortfall_greatest_us", rules::NotDelivered},
      {"carried", kWrong, kMessages, "median_age_us, median_distance, largest_distance, median_distance_of_matched",
       rules::Carried},
      {"batches", kLost, kMessages, "missing, unmatched", rules::Batches},
      {"gaps", kLost, kMessages, "gaps, longest_us", rules::Gaps},
      {"rate_change", kNote, kNothing, "from_hz, to_hz", rules::RateChange},
      {"long_exposure", kNote, kMessages, "exposure_us, readout_us, share", rules::LongExposure},
      {"repeated", kNote, kMessages, "share", rules::Repeated},
      {"end_stop", kNote, kNothing, "share, at", rules::EndStop},
      {"mode_switch", kLost, kMessages, "switches, unmatched", rules::ModeSwitch},
  };
  return kinds;
}

std::vector<SessionFinding> FindingsOf(SessionFacts const& facts, std::vector<SessionFacts const*> const& others) {
  std::vector<SessionFinding> findings;
  for (FindingKind const& kind : FindingKinds()) {
    auto finding = kind.rule != nullptr ? kind.rule(facts) : SameSamples(facts, others);
    if (!finding) continue;
    finding->code = kind.code;
    if (!finding->severity) finding->severity = kind.severity;
    if (finding->intervals.empty()) finding->intervals = finding->frames.intervals;
    findings.push_back(std::move(*finding));
    if (findings.back().code == "units") return findings;
  }
  Explain(findings);
  std::stable_sort(findings.begin(), findings.end(), [](SessionFinding const& one, SessionFinding const& other) {
    return one.severity < other.severity;
  });
  return findings;
}

}  // namespace shadingctl
