// One rule for each finding. Each is a function of the facts alone; its comment beside its code gives the formula, the
// threshold and the reason.
#pragma once

#include <optional>

#include "tools/shadingctl/findings/Findings.h"

namespace shadingctl::rules {

using Rule = std::optional<SessionFinding>(SessionFacts const& facts);

Rule WrongUnits, ClockOffset, ClockJump;                            // ClockRules.cpp
Rule History, Sampling, ReachBackward, ReachForward, NotDelivered;  // WindowRules.cpp
Rule Carried, LongExposure, Repeated, ModeSwitch;                   // PositionRules.cpp
Rule CameraOff, NotTold, Batches, Discarded, Gaps;                  // DeliveryRules.cpp
Rule Still, EndStop, Steps;                                         // LensRules.cpp

// The clocks of samples and frames differ by a steady offset: see clock_offset.
bool HasSteadyOffset(SessionFacts const& facts);

}  // namespace shadingctl::rules
