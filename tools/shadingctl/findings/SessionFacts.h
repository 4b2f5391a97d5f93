// The statistics from which findings are derived: one camera's frames, batches and samples, in constant memory.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

#include "platform/SensorProvider.h"
#include "tools/shadingctl/findings/StabiliserFacts.h"
#include "tools/shadingctl/frame/Frame.h"
#include "tools/shadingctl/statistics/Histogram.h"
#include "tools/shadingctl/statistics/SampleHealth.h"

namespace shadingctl {

// How many frames, and which came first.
struct FrameList {
  static constexpr std::size_t kNamed = 5;

  std::uint64_t count = 0;
  std::array<std::uint32_t, kNamed> first{};

  void Add(std::uint32_t frame);
  std::size_t Named() const { return count < kNamed ? static_cast<std::size_t>(count) : kNamed; }
};

// The least and the greatest of some times.
struct TimeRange {
  std::int64_t least = INT64_MAX;
  std::int64_t greatest = INT64_MIN;

  void Add(std::int64_t value);
  bool IsEmpty() const { return greatest < least; }
};

// How much later than its frame's timestamp the newest delivered sample is. A jump is a change that stays; a batch that
// is late comes back to where it was.
class DeliveryFacts {
 public:
  static constexpr std::int64_t kJumpNs = 50000000;  // above the jitter of any host
  static constexpr std::uint32_t kStays = 30;        // frames: as many as the library's history holds

  void Add(std::uint32_t frame, std::int64_t leadNs);

  TimeRange const& LeadNs() const { return mLeadNs; }
  FrameList const& Jumps() const { return mJumps; }
  std::int64_t LargestJumpNs() const { return mLargestJumpNs; }

 private:
  TimeRange mLeadNs;
  std::optional<std::int64_t> mLevelNs;
  std::uint32_t mAway = 0;  // frames in a row that were away from the level, and the first of them
  std::uint32_t mFirstAway = 0;
  FrameList mJumps;
  std::int64_t mLargestJumpNs = 0;
};

struct OldPosition {
  std::uint32_t frame = 0;
  std::int64_t ageUs = 0;
};

// Frames by what decided them. The warm-up is counted apart.
struct MatchFacts {
  std::uint64_t frames = 0;
  std::uint64_t warmUp = 0;
  std::uint64_t bothNear = 0;
  std::array<FrameList, 10> starts;  // by StartCause, the warm-up apart
  std::array<FrameList, 4> ends;     // by EndCause, of spans that began near the start
  FrameList untoldEnds;              // of spans that began near the start, where the messages do not tell
  TimeRange shortfallNs;  // from the newest sample to the end of the search interval, of frames that lack later ones
  FrameList carried;
  FrameList longExposures;  // longer than the readout
  FrameList repeated;       // frames whose span has repeated samples
  std::uint64_t repeatedSamples = 0;
  std::uint64_t spanSamples = 0;
  Histogram coverage;  // in millionths, of the frames that got a position
  double worstCoverage = 1;
  std::optional<OldPosition> oldest;  // of the positions that frames use, new ones and kept ones
  Histogram lengthShare;              // span length over readout time, in millionths
  Histogram carriedAgeUs;

  FrameList const& Of(StartCause cause) const { return starts[static_cast<std::size_t>(cause)]; }
  FrameList const& Of(EndCause cause) const { return ends[static_cast<std::size_t>(cause)]; }
  std::uint64_t Settled() const { return frames - warmUp; }
};

struct BatchFacts {
  FrameList missing;            // frames without a batch
  FrameList missingUnmatched;   // of these, those without both ends near
  std::uint64_t discarded = 0;  // by the library
  std::uint64_t split = 0;
};

struct SwitchFacts {
  FrameList frames;     // the first ones with another readout time
  FrameList unmatched;  // frames up to three after a switch without both ends near
  std::uint32_t firstFromUs = 0;
  std::uint32_t firstToUs = 0;
};

class SessionFacts {
 public:
  // One update: how many samples were delivered, and the library's word on them.
  void AddBatch(std::uint32_t frame, std::size_t samples, std::optional<BatchStored> const& stored, bool split);

  // Samples in the order of delivery, with whatever frame they came.
  void AddSamples(std::uint32_t frame, std::vector<NSCam::Utils::SensorData> const& samples);

  // The next samples do not follow the ones before: nobody knows what came in between.
  void BreakSamples();

  void AddFrame(FrameFacts const& facts);

  // The library has forgotten all samples.
  void BeginHistory() { mNewestStoredNs.reset(); }

  // How far the position of a frame is from the mean of all samples of its search interval, in
  // their unit.
  void AddReadoutDistance(Match match, double distance);

  MatchFacts const& Matches() const { return mMatch; }
  BatchFacts const& Batches() const { return mBatches; }
  SwitchFacts const& Switches() const { return mSwitches; }
  DeliveryFacts const& Delivery() const { return mDelivery; }
  StabiliserFacts const& Stabiliser() const { return mStabiliser; }
  SampleHealth::Report Samples() const { return mHealth.Summarize(); }

  std::optional<double> FrameIntervalUs() const;  // mean over the frame numbers; nullopt with fewer than two
  // Delivered samples, repeated ones included, without the first batch, which may hold any history. nullopt with fewer
  // than two batches.
  std::optional<double> SamplesPerFrame() const;
  std::optional<double> MedianExposureUs() const { return mExposureUs.Median(); }
  std::optional<double> MedianReadoutUs() const { return mReadoutUs.Median(); }
  struct Distances {
    std::optional<double> median;
    std::optional<double> largest;
  };
  Distances ReadoutDistances(Match match) const;  // of kStart or kCarried

 private:
  void AddSpan(FrameFacts const& facts);
  void AddSwitch(FrameFacts const& facts, bool bothNear);
  void AddAge(FrameFacts const& facts);

  struct Seen {
    std::uint32_t frame = 0;
    std::uint64_t timestampNs = 0;
  };

  MatchFacts mMatch;
  BatchFacts mBatches;
  SwitchFacts mSwitches;
  DeliveryFacts mDelivery;
  StabiliserFacts mStabiliser;
  SampleHealth mHealth;
  Histogram mExposureUs;
  Histogram mReadoutUs;
  Histogram mStartDistance;  // in millionths of the samples' unit
  Histogram mCarriedDistance;
  std::optional<Seen> mFirst;
  std::optional<Seen> mLast;
  std::optional<std::int64_t> mPositionUs;  // the aligned time of the span's first sample
  std::optional<std::uint32_t> mReadoutNowUs;
  std::uint32_t mSinceSwitch = 0;
  std::optional<std::int64_t> mNewestSampleNs;
  std::optional<std::int64_t> mNewestStoredNs;
  bool mHasFreshBatch = false;
  std::uint64_t mFirstBatch = 0;  // samples, as the next one
  std::uint64_t mDelivered = 0;
  std::optional<std::uint32_t> mMissingBatch;  // the frame
};

}  // namespace shadingctl
