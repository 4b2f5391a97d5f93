// One rule for each finding, and what they have in common. Each is a function of the facts alone; its comment beside
// its code gives the formula, the threshold and the reason.
#pragma once

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>

#include "tools/shadingctl/findings/Findings.h"

namespace shadingctl::rules {

using Rule = std::optional<SessionFinding>(SessionFacts const& facts);

Rule WrongUnits, ClockOffset, ClockJump, ClockDrift, ClockAhead;    // ClockRules.cpp
Rule History, Sampling, ReachBackward, ReachForward, NotDelivered;  // WindowRules.cpp
Rule FrameTimes, NoExposure, NoReadout, CallOrder, LateDelivery;    // HostRules.cpp
Rule Carried, LongExposure, Repeated, ModeSwitch;                   // HostRules.cpp
Rule CameraOff, NotTold, Batches, Discarded, Gaps, RateChange;      // DeliveryRules.cpp
Rule Still, DeadAxis, EndStop, Steps, Held;                         // LensRules.cpp

// The clocks of samples and frames differ by a steady offset: see clock_offset.
bool HasSteadyOffset(SessionFacts const& facts);

// The median of the newest samples is older than usual when it comes: see late_delivery.
bool IsDeliveredLate(SessionFacts const& facts);

constexpr double kUsInS = 1e6;

// Within so many us the start of a readout is near a sample: the tolerance to both sides, which is exclusive.
constexpr double kNearWidthUs = 2.0 * kToleranceUs - 1;

inline double Share(std::uint64_t part, std::uint64_t whole) {
  return whole == 0 ? 0 : static_cast<double>(part) / static_cast<double>(whole);
}

// The least share of the frames after the warm-up, or of samples, that is told. Fewer are an isolated event, left to
// the rules for batches and gaps.
constexpr double kWorthTelling = 0.01;
inline bool IsWorthTelling(FrameList const& frames, SessionFacts const& facts) {
  return frames.count > 0 && Share(frames.count, facts.Matches().Settled()) >= kWorthTelling;
}

// The frames of both lists.
inline FrameList Together(FrameList const& one, FrameList const& other) {
  FrameList all = one;
  all.count += other.count;
  all.first.insert(all.first.end(), other.first.begin(), other.first.end());
  std::sort(all.first.begin(), all.first.end());
  all.first.resize(std::min(all.first.size(), FrameList::kNamed));
  all.intervals.insert(all.intervals.end(), other.intervals.begin(), other.intervals.end());
  all.intervals = Joined(std::move(all.intervals));
  return all;
}

// "12 of 282 frames"
inline std::string FramesText(FrameList const& frames, SessionFacts const& facts) {
  return fmt::format("{} of {} frames", frames.count, facts.Matches().Settled());
}

// A finding that has nothing to tell but these frames; `text` has a place for FramesText.
inline SessionFinding AboutFrames(FrameList const& frames, SessionFacts const& facts, char const* text,
                                  char const* advice) {
  return {fmt::format(fmt::runtime(text), FramesText(frames, facts)), advice, {}, frames};
}

// "1.2 ms", "123 ms"
inline std::string Milliseconds(double us) { return fmt::format("{:.{}f} ms", us / 1e3, std::abs(us) < 1e5 ? 1 : 0); }

// "1.2 ms to 3.4 ms"
inline std::string FromTo(double leastUs, double greatestUs) {
  std::string const least = Milliseconds(leastUs);
  std::string const greatest = Milliseconds(greatestUs);
  return least == greatest ? least : least + " to " + greatest;
}

// "once", "2 times"
inline std::string Times(std::uint64_t count) { return count == 1 ? "once" : fmt::format("{} times", count); }

// "0.5", "93"; known to within 1.6 %
inline std::string Units(double distance) { return fmt::format("{:.{}f}", distance, distance < 9.95 ? 1 : 0); }

}  // namespace shadingctl::rules
