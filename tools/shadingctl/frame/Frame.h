// One computed frame: the row that tells of it, and what decided its outcome.
#pragma once

#include <cstdint>
#include <optional>

#include "lsc/FrameInput.h"
#include "recording/Session.h"
#include "tools/shadingctl/frame/FrameResult.h"
#include "tools/shadingctl/log/FrameMessages.h"

namespace shadingctl {

// Why the start of a frame's search interval was found, or not.
enum class StartCause {
  kNear,
  kBetweenSamples,     // the window reaches across the start, but no sample is within the tolerance
  kWindowBeginsLate,   // the window does not reach back far enough
  kHistoryBeginsLate,  // neither the window nor the history does
  kWindowEndsEarly,    // nothing later was delivered, and no span begins with the last entry
  kTooLittleHistory,
  kNothingAfter,  // no sample at or after the frame's timestamp
  kNoTime,        // the timestamp is 0
  kOff,           // the camera is not enabled
  kUntold,        // the log level, or lost lines, hold the window back
};

// Why the end of a span was found, or not.
enum class EndCause {
  kNear,
  kBetweenSamples,
  kWindowEndsEarly,  // the window reaches no further forward, though later samples were delivered
  kNotDelivered,     // nothing later was delivered
};

// Explanations and findings build on these, beside the row.
struct FrameFacts {
  StartCause start = StartCause::kUntold;
  std::optional<EndCause> end;  // of a span
  // From the frame's timestamp to the end of its search interval, on the samples' own clock.
  std::optional<std::int64_t> readoutEndUs;

  struct Window {
    std::int64_t firstUs = 0;  // from the start of the search interval
    std::int64_t lastUs = 0;
    std::int64_t intervalUs = 0;  // median
    std::size_t entries = 0;
  };
  std::optional<Window> window;
  std::optional<std::int64_t> nearestUs;  // from the start of the search interval to the window's nearest entry
  std::size_t spanEntries = 0;
  std::optional<double> lengthShare;  // span length over readout time
};

struct Frame {
  FrameResult row;
  FrameFacts facts;
};

// Which of a computation's three pairs of timestamp and exposure counts.
inline recording::ExposurePair const& PairOf(recording::CalcOisValue const& calc, std::int32_t type) {
  if (type == kShadingCapturePair1) return calc.pairs[1];
  return calc.pairs[type == kShadingPreviewPair2 || type == kShadingCapturePair2 ? 2 : 0];
}

// Everything but the position.
Frame MakeFrame(FrameHead const& head, CallOutcome const& outcome, FrameMessages const& messages);

}  // namespace shadingctl
