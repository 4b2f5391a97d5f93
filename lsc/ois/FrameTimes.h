// One frame's times, as its kind selects them.
#pragma once

#include <cstdint>
#include <optional>

#include "lsc/VeyraShadingUtil.h"

namespace lsc {

struct FrameTimes {
  std::uint64_t timestampNs;
  std::uint64_t exposureUs;
  std::uint32_t shutterUs;       // rolling shutter: from the first line's readout to the last one's
  std::uint64_t startOfFrameUs;  // timestamp less exposure; wraps when the exposure is the longer one
};

// nullopt for a kind of frame that is not known.
std::optional<FrameTimes> SelectFrameTimes(CustShadingType type, CalcOISValueInput const& input,
                                           std::uint32_t rollingShutterNs);

// What is subtracted from every sample's time, in us: negative, so samples move forward in time, by a little more than
// half of the shorter one of exposure and readout. The factor and the constant are empirical.
std::int64_t OffsetUs(std::uint64_t exposureUs, std::uint32_t shutterUs);

}  // namespace lsc
