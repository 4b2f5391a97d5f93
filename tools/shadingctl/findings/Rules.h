// One rule for each finding, and what they have in common. Each is a function of the facts alone; its comment beside
// its code gives the formula, the threshold and the reason.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

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

double Share(std::uint64_t part, std::uint64_t whole);

// Of the frames after the warm-up, or of samples. Fewer are an isolated event, left to the rules for batches and gaps.
constexpr double kWorthTelling = 0.01;
bool IsWorthTelling(FrameList const& frames, SessionFacts const& facts);

// The frames of both lists.
FrameList Together(FrameList const& one, FrameList const& other);

// A finding that has nothing to tell but these frames; `text` has a place for FramesText.
SessionFinding AboutFrames(FrameList const& frames, SessionFacts const& facts, char const* text, char const* advice);

std::string FramesText(FrameList const& frames, SessionFacts const& facts);  // "12 of 282 frames"
std::string Milliseconds(double us);                                         // "1.2 ms"
std::string FromTo(double leastUs, double greatestUs);                       // "1.2 ms to 3.4 ms"
std::string Times(std::uint64_t count);                                      // "once", "2 times"
std::string Units(double distance);                                          // "0.5", "93"; known to within 1.6 %

}  // namespace shadingctl::rules
