// Where the lens of a hand-held phone stands, and what a troubled stabiliser makes of it.
#pragma once

#include <cstdint>

#include "tools/shadingctl/session/SyntheticOptions.h"

namespace shadingctl {

struct LensPoint {
  float x = 0;
  float y = 0;
};

// The position at a time since the first sample, which is not negative. The noises lie in [-1, 1). Made of exact
// floating-point steps only, so the same on every machine; a multiple of 1/1000000.
LensPoint LensAt(std::int64_t sinceFirstNs, double noiseX, double noiseY, LensTrouble const& trouble);

}  // namespace shadingctl
