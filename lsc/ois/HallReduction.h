// Reduces a span to one position.
#pragma once

#include <optional>

#include "lsc/ois/HallRun.h"

namespace lsc {

// Values of g_oisDebug; every other one reduces nothing.
enum HallMode : int { kHallMean = 1, kHallMaximum = 2, kHallMiddle = 3, kHallLast = 4 };

struct HallPosition {
  float x;
  float y;
};

// Whether the mode depends on every entry of the span.
constexpr bool UsesEveryEntry(int mode) { return mode == kHallMean || mode == kHallMaximum; }

// The position of a non-empty span, X and Y separately, in single precision: the mean (summed in the order of the
// entries), the maximum of each axis (a value replaces the current one unless that is greater), the middle entry (the
// earlier one of two) or the last one. nullopt for a mode that reduces nothing.
std::optional<HallPosition> ReduceSpan(HallRun span, int mode);

}  // namespace lsc
