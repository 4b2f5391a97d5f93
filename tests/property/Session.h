// A generated session of one camera: what the platform delivers and what the host asks, in an order that shrinks well.
#pragma once

#include <rapidcheck.h>

#include <cstdint>
#include <iosfwd>
#include <vector>

#include "model/ReferenceModel.h"

namespace property {

// Where a batch begins, as seen from the newest frame that is buffered.
enum class Place {
  kNext,          // after it
  kTouching,      // at the time of its last sample
  kOverlapping,   // inside it
  kSplitAtFirst,  // 1 ns before its last sample, so that the split time is the batch's first
  kEqualFirst,    // at the time of its first sample
  kBefore,        // before it
  kAnywhere,      // every sample at a time of its own, from the whole range
};

struct BatchPlan {
  Place place = Place::kNext;
  std::uint32_t count = 0;
  std::int64_t spacingNs = 0;
  std::int64_t jitterNs = 0;  // a sample's time is off by at most this
  bool shuffled = false;
  std::uint32_t seed = 0;  // of jitter, order, depth of an overlap and times from the whole range
};

// What a time that the host gives is derived from.
enum class Aim {
  kSample,   // a buffered sample, off by a little
  kReadout,  // a buffered sample once more, so that the readout starts there
  kZero,
  kAnything,
};

struct TimePlan {
  Aim aim = Aim::kSample;
  std::uint32_t sample = 0;  // index in the joined history, modulo its length
  std::int64_t offsetNs = 0;
  std::uint64_t anythingNs = 0;
};

enum class Act { kUpdate, kCalc, kLookUpByTime, kLookUpByFrame, kStoreRollingShutter };

// One call of the host; each kind reads the fields that it needs.
struct Step {
  Act act = Act::kUpdate;
  int logLevel = 0;
  std::uint32_t frameNumber = 0;
  BatchPlan batch;
  TimePlan time;
  std::uint32_t rollingShutterNs = 0;
  std::int32_t type = 0;
  std::uint64_t exposureNs = 0;
  int mode = 1;
  int oisMatched = 0;
  std::vector<double> before;  // content of the caller's vectors; their sizes follow from it
};

struct Session {
  std::int64_t originNs = 0;  // of the first batch
  bool lensRests = false;     // positions of 0 and -0, and little else
  bool systemLog = false;
  bool file = true;
  int maximumLevel = 5;
  std::vector<Step> steps;
};

rc::Gen<Session> AnySession();

// The times of a batch in the order of delivery. `frames` is what is buffered now.
using Frames = std::deque<std::pair<std::uint32_t, model::Samples>>;
std::vector<std::int64_t> BatchTimesNs(BatchPlan const& plan, Frames const& frames, std::int64_t originNs);

// A time for a call, given what is buffered and the frame's exposure and rolling-shutter times.
std::uint64_t CallTimeNs(TimePlan const& plan, Frames const& frames, std::uint64_t exposureNs,
                         std::uint32_t rollingShutterNs);

std::ostream& operator<<(std::ostream& out, Step const& step);
std::ostream& operator<<(std::ostream& out, Session const& session);

}  // namespace property
