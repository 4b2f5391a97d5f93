// The search of ReadoutSpan in the history itself, for a frame about which nothing is said: times are looked up by
// their order instead of being aligned one by one in a table. The answer is the one that the search in a table gives.
#pragma once

#include <cstdint>
#include <optional>

#include "lsc/SampleWindow.h"
#include "lsc/ois/FrameTimes.h"

namespace lsc {

// A frame's readout on the samples' own clock.
struct Readout {
  std::int64_t startUs;
  std::uint32_t shutterUs;  // from the first line's readout to the last one's
  bool mayBeCarried;        // a frame without a sample near its start begins with the first one of the window
};

// nullopt for times that leave no room to compute with, as no real ones do.
std::optional<Readout> PlainReadout(FrameTimes const& times, std::int64_t offsetUs, bool mayBeCarried);

// Whether the search can be used: for times from microsecond 1 on that leave room to compute with.
bool IsPlain(SampleWindow const& window);

// From the first entry of the span to some sample of the last entry's microsecond; no sample at all when no entry is
// near the start and the frame may not be carried.
struct FoundSpan {
  SampleRun run;
  bool startIsNear;
};
FoundSpan FindSpan(SampleWindow const& window, Readout const& readout);

}  // namespace lsc
