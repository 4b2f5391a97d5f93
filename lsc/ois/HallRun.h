// Samples as the computation keeps them.
#pragma once

#include <cstddef>
#include <cstdint>

#include "lsc/TimeUnits.h"

namespace lsc {

struct HallSample {
  std::int64_t timeNs;
  float x;
  float y;
};

// Samples in a row, in ascending order of time. The first one of every microsecond is an entry; the others of that
// microsecond are not looked at.
struct HallRun {
  HallSample const* samples;
  std::size_t size;

  bool hasTwoEntries() const { return size > 0 && ToUs(samples[0].timeNs) != ToUs(samples[size - 1].timeNs); }
};

// Hands every entry of the run, at least one, to `visit`.
template <typename Visit>
void ForEachEntry(HallRun run, Visit visit) {
  // Microsecond 0 is the longest one: times are truncated to it from both sides.
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
