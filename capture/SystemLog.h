// The taps' words in the system log.
#pragma once

#include "platform/Log.h"

namespace capture {

constexpr char kTag[] = "shadingtap";

// Priorities, as the system log has them.
constexpr int kLogInfo = 4;
constexpr int kLogError = 6;

}  // namespace capture
