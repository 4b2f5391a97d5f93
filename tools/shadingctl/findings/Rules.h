// One rule for each finding. Each is a function of the facts alone; its comment beside its code gives the formula, the
// threshold and the reason.
#pragma once

#include <optional>

#include "tools/shadingctl/findings/Findings.h"

namespace shadingctl::rules {

using Rule = std::optional<SessionFinding>(SessionFacts const& facts);

Rule WrongUnits, ClockOffset, ClockJump, ClockDrift, ClockAhead;    // ClockRules.cpp
Rule History, Sampling, ReachBackward, ReachForward, NotDelivered;  // WindowRules.cpp
Rule Carried, LongExposure, Repeated, ModeSwitch;                   // PositionRules.cpp
Rule FrameTimes, NoExposure, NoReadout;                             // FrameRules.cpp
Rule CameraOff, NotTold, Batches, Discarded, Gaps, RateChange;      // DeliveryRules.cpp
Rule CallOrder, LateDelivery;                                       // CallRules.cpp
Rule Still, DeadAxis;                                               // LensRules.cpp
Rule EndStop, Steps, Held;                                          // ShapeRules.cpp

// The clocks of samples and frames differ by a steady offset: see clock_offset.
bool HasSteadyOffset(SessionFacts const& facts);

// The median of the newest samples is older than usual when it comes: see late_delivery.
bool IsDeliveredLate(SessionFacts const& facts);

}  // namespace shadingctl::rules
