// Which of a computation's three pairs of timestamp and exposure counts.
#pragma once

#include <cstdint>

#include "lsc/FrameInput.h"
#include "recording/Session.h"

namespace shadingctl {

inline recording::ExposurePair const& PairOf(recording::CalcOisValue const& calc, std::int32_t type) {
  if (type == kShadingCapturePair1) return calc.pairs[1];
  return calc.pairs[type == kShadingPreviewPair2 || type == kShadingCapturePair2 ? 2 : 0];
}

}  // namespace shadingctl
