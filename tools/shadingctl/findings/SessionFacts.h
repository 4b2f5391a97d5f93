// The statistics from which findings are derived: one camera's frames, batches and samples, in some 50 bytes a frame.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <set>
#include <vector>

#include "platform/SensorProvider.h"
#include "tools/shadingctl/findings/DeliveryFacts.h"
#include "tools/shadingctl/findings/LensFacts.h"
#include "tools/shadingctl/frame/Frame.h"
#include "tools/shadingctl/statistics/Histogram.h"
#include "tools/shadingctl/statistics/SampleHealth.h"

namespace shadingctl {

// The least and the greatest of some times.
struct TimeRange {
  std::int64_t least = INT64_MAX;
  std::int64_t greatest = INT64_MIN;

  void Add(std::int64_t value) {
    least = std::min(least, value);
    greatest = std::max(greatest, value);
  }
  bool IsEmpty() const { return greatest < least; }
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
  FrameList lacking;      // frames that lack later samples, and were called for too early, as far as that is known
  FrameList late;         // frames that lack later samples, though they were computed after these were taken
  TimeRange shortfallNs;  // from the newest sample to the end of the search interval, of both
  FrameList inGaps;       // frames that look for an end where samples are farther apart than usual
  FrameList carried;
  FrameList longExposures;  // longer than the readout
  FrameList noExposures;    // a time of 0, as in the next one
  FrameList noReadouts;
  FrameList timesBackward;  // frames whose timestamp is not later than that of the frame before
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
  FrameList missing;                      // frames without a batch
  FrameList missingUnmatched;             // of these, those that lack later samples
  FrameList discarded;                    // frames whose batch the library discarded
  FrameList afterwards;                   // frames that were computed before their update
  std::uint64_t afterwardsUnmatched = 0;  // of these, those without both ends near
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
  void AddBatch(std::uint32_t frame, std::size_t samples, std::optional<BatchStored> const& stored, bool split,
                std::optional<std::uint64_t> callNs = std::nullopt);

  // Samples in the order of delivery, with whatever frame they came.
  void AddSamples(std::uint32_t frame, std::vector<NSCam::Utils::SensorData> const& samples);

  // The next samples do not follow the ones before: nobody knows what came in between.
  void BreakSamples() {
    mHealth.Break();
    mLens.Break();
  }

  void AddFrame(Frame const& frame, std::optional<std::uint64_t> callNs = std::nullopt);

  // The library has forgotten all samples.
  void BeginHistory() { mNewestStoredNs.reset(); }

  // How far the position of a frame is from the mean of all samples of its search interval, in their unit.
  void AddReadoutDistance(Match match, double distance);

  MatchFacts const& Matches() const { return mMatch; }
  BatchFacts const& Batches() const { return mBatches; }
  SwitchFacts const& Switches() const { return mSwitches; }
  DeliveryFacts const& Delivery() const { return mDelivery; }
  LensFacts const& Lens() const { return mLens; }
  SampleHealth::Report Samples() const { return mHealth.Summarize(); }

  // Between two new positions, where each is held for several samples; median.
  std::optional<double> TrueIntervalUs() const;

  std::int64_t FirstFrameNs() const { return mFirst ? static_cast<std::int64_t>(mFirst->timestampNs) : 0; }

  // What two cameras have in common when they are fed with the same samples: the least of the samples' hashes.
  std::set<std::uint64_t> const& Fingerprint() const { return mFingerprint; }

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
  std::optional<std::int64_t> LastFrameNs() const {
    return mLast ? std::optional(static_cast<std::int64_t>(mLast->timestampNs)) : std::nullopt;
  }
  void AddTimes(FrameResult const& row);
  void AddLead(Frame const& frame, std::optional<std::uint64_t> callNs);
  void AddSpan(Frame const& frame);
  // Requires: row.times.
  void AddAge(FrameResult const& row);
  void AddSwitch(FrameResult const& row, bool bothNear);

  MatchFacts mMatch;
  BatchFacts mBatches;
  SwitchFacts mSwitches;
  DeliveryFacts mDelivery;
  LensFacts mLens;
  SampleHealth mHealth;
  Histogram mExposureUs;
  Histogram mReadoutUs;
  std::array<Histogram, 2> mDistances;  // of new positions and of carried ones, in millionths of the samples' unit
  std::optional<FrameHead> mFirst;
  std::optional<FrameHead> mLast;
  std::optional<std::int64_t> mPositionUs;  // the aligned time of the span's first sample
  std::optional<std::uint32_t> mReadoutNowUs;
  std::uint32_t mSinceSwitch = 0;
  std::optional<std::int64_t> mNewestSampleNs;
  std::optional<std::int64_t> mNewestStoredNs;
  struct Fresh {
    std::int64_t newestNs = 0;
    std::optional<std::uint64_t> callNs;
  };
  std::optional<Fresh> mFresh;  // the samples that came since the frame before
  std::optional<std::uint64_t> mBatchCallNs;
  std::optional<std::uint32_t> mUpdated;  // the last frame that was
  bool mLastBothNear = true;
  std::set<std::uint64_t> mFingerprint;
  std::uint64_t mFirstBatch = 0;  // samples, as the next one
  std::uint64_t mDelivered = 0;
  std::optional<std::uint32_t> mMissingBatch;  // the frame
};

}  // namespace shadingctl
