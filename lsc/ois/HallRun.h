// What the computation keeps of samples: time and position.
#pragma once

#include <cstddef>
#include <cstdint>

#include "lsc/base/SampleRange.h"
#include "lsc/base/TimeUnits.h"

namespace lsc {

struct HallSample {
  std::int64_t timeNs;
  float x;
  float y;
};

// Samples in a row, in ascending order of time. The first one of every microsecond is an entry; the others of that
// microsecond do not count.
struct HallRun {
  HallSample const* samples;
  std::size_t size;

  bool hasTwoEntries() const { return size > 0 && ToUs(samples[0].timeNs) != ToUs(samples[size - 1].timeNs); }
};

// Copies `size` samples from `position` on to `out`, which must have room for them.
inline HallRun CopyHall(SampleCursor const& position, std::size_t size, HallSample* out) {
  ForEachChunk(position, size, [to = out](NSCam::Utils::SensorData const* samples, std::size_t count) mutable {
    for (std::size_t i = 0; i < count; ++i) *to++ = {samples[i].timestamp, samples[i].oisHallX, samples[i].oisHallY};
  });
  return {out, size};
}

// Calls visit(sample) once per entry. Requires: the run is not empty.
template <typename Visit>
void ForEachEntry(HallRun run, Visit visit) {
  // Microsecond 0 is twice as long as the others: times are truncated to it from both sides. Samples farther apart than
  // that need no division to tell that they are different entries.
  constexpr auto kLongestUsNs = static_cast<std::uint64_t>(2 * kNsPerUs);
  HallSample const* entry = run.samples;
  visit(*entry);
  for (HallSample const* sample = entry + 1; sample != run.samples + run.size; ++sample) {
    bool const isClose =
        static_cast<std::uint64_t>(sample->timeNs) - static_cast<std::uint64_t>(entry->timeNs) < kLongestUsNs;
    if (isClose && ToUs(sample->timeNs) == ToUs(entry->timeNs)) continue;
    entry = sample;
    visit(*entry);
  }
}

}  // namespace lsc
