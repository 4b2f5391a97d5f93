#include "lsc/ois/HallRun.h"

namespace lsc {

HallRun CopyHall(SampleCursor const& position, std::size_t size, HallSample* out) {
  ForEachChunk(position, size, [to = out](NSCam::Utils::SensorData const* samples, std::size_t count) mutable {
    for (std::size_t i = 0; i < count; ++i) *to++ = {samples[i].timestamp, samples[i].oisHallX, samples[i].oisHallY};
  });
  return {out, size};
}

}  // namespace lsc
