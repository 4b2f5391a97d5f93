// The lens position of a hand-held phone over time, and the effect of a faulty stabiliser on it.
#pragma once

#include <cstdint>

#include "tools/shadingctl/synthetic/SyntheticOptions.h"

namespace shadingctl {

struct LensPoint {
  float x = 0;
  float y = 0;
};

// The position at a time >= 0 since the first sample. The noises lie in [-1, 1). Uses exact floating-point operations
// only, so the result is the same on every machine: a multiple of 1/1000000.
LensPoint LensAt(std::int64_t sinceFirstNs, double noiseX, double noiseY, LensTrouble const& trouble);

}  // namespace shadingctl
