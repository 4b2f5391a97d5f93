// Rules about what the host tells of its frames.
#include <fmt/format.h>

#include "tools/shadingctl/findings/RuleWords.h"
#include "tools/shadingctl/findings/Rules.h"

namespace shadingctl::rules {

// frame_times. Any frame whose timestamp is that of the frame before, or earlier.
std::optional<SessionFinding> FrameTimes(SessionFacts const& facts) {
  FrameList const& frames = facts.Matches().timesBackward;
  if (frames.count == 0) return std::nullopt;
  return SessionFinding{
      fmt::format("the timestamps of {} repeat that of the frame before or run backward", FramesText(frames, facts)),
      "hand over each frame's own timestamp",
      {},
      frames};
}

// no_exposure. One frame in a hundred has an exposure of 0: its search interval begins with the timestamp then.
std::optional<SessionFinding> NoExposure(SessionFacts const& facts) {
  FrameList const& frames = facts.Matches().noExposures;
  if (!IsWorthTelling(frames.count, facts)) return std::nullopt;
  return SessionFinding{
      fmt::format("the exposure time of {} is 0: their samples are looked for too late", FramesText(frames, facts)),
      "hand over the exposure time in nanoseconds",
      {},
      frames};
}

// no_readout. One frame in a hundred has a readout of 0, as before the first StoreRollingShutter: a span of one sample
// gives no position.
std::optional<SessionFinding> NoReadout(SessionFacts const& facts) {
  FrameList const& frames = facts.Matches().noReadouts;
  if (!IsWorthTelling(frames.count, facts)) return std::nullopt;
  return SessionFinding{fmt::format("the readout time of {} is 0: no span has two samples", FramesText(frames, facts)),
                        "store the readout time of the sensor mode after each start of the monitor",
                        {},
                        frames};
}

}  // namespace shadingctl::rules
