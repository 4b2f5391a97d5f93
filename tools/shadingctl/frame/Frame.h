// One computed frame: its outcome, as every output format shows it (docs/replay-output.md explains every figure), and
// what decided it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "hosting/LibraryNumbers.h"
#include "lsc/FrameInput.h"
#include "recording/Session.h"
#include "tools/shadingctl/log/FrameMessages.h"

namespace shadingctl {

using hosting::kHistoryFrames;
using hosting::kToleranceUs;
using hosting::kWindowSize;

// Aligned times, in us, are the library's own, in which a frame's search interval begins at its timestamp less its
// exposure time. Differences wrap as the library's do, so times that cannot be real do no harm.
struct AlignedSample {
  std::int64_t timeUs = 0;
  float hallX = 0;
  float hallY = 0;
};

// later - earlier, in the unit of both; wraps.
std::int64_t TimeDifference(std::int64_t later, std::int64_t earlier);

// Between two times in either order; INT64_MAX where it is longer.
std::int64_t DistanceUs(std::int64_t oneUs, std::int64_t otherUs);

// The share of a search interval of this length that a span covers; both ends of the span since the interval's start,
// in the unit of the length. Requires: length > 0.
double CoverageOf(std::int64_t first, std::int64_t last, std::int64_t length);

// The library's table of the window: a sample in the same us as the one taken before it is left out, as is one in us 0
// at the front, and all after the first 100 entries.
std::vector<AlignedSample> AlignedTable(std::vector<SourceSample> const& window, std::int64_t offsetUs);

// The distance from a time to the nearest entry; nullopt in an empty table.
std::optional<std::int64_t> NearestUs(std::vector<AlignedSample> const& table, std::int64_t timeUs);

// Aligned times, both included.
struct AlignedRange {
  std::int64_t firstUs = 0;
  std::int64_t lastUs = 0;
};

// The median of the times between neighbours in the table; nullopt with fewer than two entries.
std::optional<std::int64_t> MedianIntervalUs(std::vector<AlignedSample> const& table);

// How a frame was matched.
enum class Match {
  kStart,     // a sample within the tolerance of the frame's start
  kCarried,   // none, but the flag of an earlier frame made the span begin at entry 0
  kNoStart,   // none, and no flag: the position of an earlier frame stays
  kSingle,    // a span of one entry: the position of an earlier frame stays
  kNoWindow,  // nothing buffered at or after the time, or too little history
  kWarmUp,    // too little history because the monitor has just been started: no failure
  kOff,       // the camera is not enabled
};
constexpr std::size_t kMatchCount = 7;
constexpr Match kMatches[kMatchCount] = {Match::kStart,    Match::kCarried, Match::kNoStart, Match::kSingle,
                                         Match::kNoWindow, Match::kWarmUp,  Match::kOff};

// "start", "carried", "no_start", "single", "no_window", "warm_up", "off"
char const* Name(Match match);

// How the end of a span was found.
enum class SpanEnd {
  kNear,  // a sample within the tolerance of it
  kLast,  // none: the window's last entry stands in its place
};

// "near", "last"
char const* Name(SpanEnd end);

// What a call says of its frame, whatever the library makes of it.
struct FrameHead {
  std::int32_t camera = 0;
  std::uint32_t frame = 0;
  std::uint64_t timestampNs = 0;
  int type = 0;
};

struct FrameResult : FrameHead {
  Match match = Match::kOff;
  std::optional<std::uint32_t> samples;
  std::optional<std::int32_t> startIndex;
  std::optional<std::int32_t> endIndex;
  std::optional<std::int64_t> offsetUs;
  std::optional<std::int64_t> startDistanceUs;
  std::optional<std::int64_t> spanAgeUs;
  std::optional<double> hallX;
  std::optional<double> hallY;
  std::string message;  // why there is no start; without commas and quotes
  std::optional<SpanEnd> end;
  std::optional<std::int64_t> endDistanceUs;
  std::optional<double> coverage;                // share of the search interval that the span covers, 0 to 1
  std::optional<std::uint64_t> repeatedSamples;  // in the span
  std::optional<double> readoutDistance;         // from the mean of all samples of the search interval, in their unit

  // In JSON rows only.
  std::optional<AlignedRange> window;    // from the first to the last of the library's entries
  std::optional<AlignedRange> spanTime;  // from the first to the last entry of the span

  // In no row of CSV; the table shows the time since the first frame, JSON the times.
  std::int64_t sinceFirstNs = 0;  // from the session's first frame
  std::int64_t startOfFrameUs = 0;
  bool startFound = false;                      // a sample lies within the tolerance of the frame's start
  std::optional<std::uint64_t> historySamples;  // that the library held
  std::optional<FrameTimesTold> times;

  // Whether the position is of this frame's own span.
  bool HasNewPosition() const { return match == Match::kStart || match == Match::kCarried; }
};

// A position with nine significant digits, which tell every single-precision number from its neighbours; a share of 1;
// a distance in the samples' unit.
std::string PositionText(double position);
std::string ShareText(double share);
std::string DistanceText(double distance);

// The number, or nothing.
template <class Integer>
std::string OrEmpty(std::optional<Integer> const& number) {
  return number ? std::to_string(*number) : std::string();
}

// What the host saw of a call besides the messages.
struct CallOutcome {
  bool supported = false;   // IsSupportSensor
  bool flagHanded = false;  // oisMatched was set before the call
  bool startFound = false;  // the call set it

  // The exposure is longer than the frame's time, so the start of the frame has no time.
  bool startsBeforeTime = false;

  // Since the camera's monitor was started, this frame included.
  std::uint64_t updates = 0;
  std::uint64_t delivered = 0;  // samples
  bool hasBeenWarm = false;     // an earlier frame found enough of them
};

// The number of samples in the library's history, as its message says. Without that message, the number of delivered
// samples, which is the same until the first frame is evicted.
std::uint64_t HistoryOf(CallOutcome const& outcome, FrameMessages const& messages);

// Derives from the library's outputs and messages how a frame was matched; fills everything except the frame's head and
// the position. `table` is AlignedTable of the messages' window.
FrameResult Judge(CallOutcome const& outcome, FrameMessages const& messages, std::vector<AlignedSample> const& table);

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
