// One frame's times, as its kind selects them.
#pragma once

#include <cstdint>
#include <optional>

#include "lsc/FrameInput.h"

namespace lsc {

struct FrameTimes {
  std::uint64_t timestampNs;
  std::uint64_t exposureUs;
  std::uint32_t readoutUs;       // readout time: from the first line's readout to the last one's
  std::uint64_t startOfFrameUs;  // timestamp less exposure; wraps when the exposure is the longer one
};

// nullopt for an unknown kind of frame.
std::optional<FrameTimes> SelectFrameTimes(CustShadingType type, CalcOISValueInput const& input,
                                           std::uint32_t rollingShutterNs);

// The offset that is subtracted from every sample time, in us: at most -166, so samples move forward in time, by a
// little more than half of the shorter one of exposure and readout.
std::int64_t OffsetUs(std::uint64_t exposureUs, std::uint32_t readoutUs);

}  // namespace lsc
