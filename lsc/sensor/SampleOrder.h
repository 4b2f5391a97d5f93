// The order of samples: by time, as a signed value.
#pragma once

#include "lsc/base/FrameQueue.h"

namespace lsc {

inline bool IsEarlier(NSCam::Utils::SensorData const& a, NSCam::Utils::SensorData const& b) {
  return a.timestamp < b.timestamp;
}

// Not stable: samples of equal times end up in unspecified order.
void SortByTime(Samples& samples);

}  // namespace lsc
