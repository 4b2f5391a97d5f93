// The taps' words in the system log.
#pragma once

#include <cstdio>
#include <string>

#include "platform/Log.h"

namespace capture {

constexpr char kTag[] = "shadingtap";

// Priorities, as the system log has them.
constexpr int kLogInfo = 4;
constexpr int kLogError = 6;

// On standard error too, where whoever runs a host on a desk looks.
inline void TellError(std::string const& text) {
  __android_log_print(kLogError, kTag, "%s", text.c_str());
  std::fprintf(stderr, "%s: %s\n", kTag, text.c_str());
}

}  // namespace capture
