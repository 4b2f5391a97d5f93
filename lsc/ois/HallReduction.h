// One position from a span.
#pragma once

#include <optional>

#include "lsc/ois/HallRun.h"

namespace lsc {

// Values of the property that selects the calculation; every other value calculates nothing.
enum HallMode : int { kHallMean = 1, kHallMaximum = 2, kHallMiddle = 3, kHallLast = 4 };

struct HallPosition {
  float x;
  float y;
};

// Whether the mode looks at every entry of the span.
constexpr bool UsesEveryEntry(int mode) { return mode == kHallMean || mode == kHallMaximum; }

// The position of a span of at least one entry, X and Y apart, in single precision: the mean (summed in the order of
// the entries), the maximum of each axis (a value replaces the current one unless that is greater), the middle entry
// (the earlier one of two) or the last one. nullopt for a mode that calculates nothing.
std::optional<HallPosition> ReduceSpan(HallRun span, int mode);

}  // namespace lsc
