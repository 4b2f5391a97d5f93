#include "tools/shadingctl/findings/SessionFacts.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "tools/shadingctl/frame/FrameResult.h"

namespace shadingctl {
namespace {

constexpr std::uint32_t kAfterSwitch = 3;             // frames that a switch of the readout may cost
constexpr std::int64_t kLatestEndUs = 1000000000000;  // in which no readout ends
constexpr double kMillionths = 1e6;

std::int64_t Millionths(double value) { return std::llround(std::clamp(value, 0.0, 1e12) * kMillionths); }

std::int64_t DifferenceNs(std::int64_t laterNs, std::int64_t earlierNs) {
  return static_cast<std::int64_t>(static_cast<std::uint64_t>(laterNs) - static_cast<std::uint64_t>(earlierNs));
}

bool LacksLaterSamples(FrameFacts const& facts) {
  return facts.start == StartCause::kNothingAfter || facts.start == StartCause::kWindowEndsEarly ||
         (facts.start == StartCause::kNear && facts.end == EndCause::kNotDelivered);
}

}  // namespace

void FrameList::Add(std::uint32_t frame) {
  if (count < kNamed) first[static_cast<std::size_t>(count)] = frame;
  ++count;
}

void TimeRange::Add(std::int64_t value) {
  least = std::min(least, value);
  greatest = std::max(greatest, value);
}

void DeliveryFacts::Add(std::uint32_t frame, std::int64_t leadNs) {
  mLeadNs.Add(leadNs);
  if (!mLevelNs) mLevelNs = leadNs;
  std::int64_t const changeNs = DifferenceNs(leadNs, *mLevelNs);
  if (changeNs < kJumpNs && changeNs > -kJumpNs) {
    mAway = 0;
    return;
  }
  if (mAway++ == 0) mFirstAway = frame;
  if (mAway < kStays) return;
  mJumps.Add(mFirstAway);
  bool const isLargest = std::abs(static_cast<double>(changeNs)) > std::abs(static_cast<double>(mLargestJumpNs));
  if (isLargest) mLargestJumpNs = changeNs;
  mLevelNs = leadNs;
  mAway = 0;
}

void SessionFacts::AddSamples(std::uint32_t frame, std::vector<NSCam::Utils::SensorData> const& samples) {
  mHealth.Add(samples);
  for (auto const& sample : samples) {
    mStabiliser.Add(frame, sample.timestamp, static_cast<double>(sample.oisHallX),
                    static_cast<double>(sample.oisHallY));
    mNewestSampleNs = std::max(mNewestSampleNs.value_or(sample.timestamp), sample.timestamp);
  }
}

void SessionFacts::BreakSamples() {
  mHealth.Break();
  mStabiliser.Break();
}

void SessionFacts::AddBatch(std::uint32_t frame, std::size_t samples, std::optional<BatchStored> const& stored,
                            bool split) {
  if (samples == 0) {
    mBatches.missing.Add(frame);
    mMissingBatch = frame;
    return;
  }
  mDelivered += samples;
  if (mFirstBatch == 0) mFirstBatch = samples;
  mHasFreshBatch = true;
  if (split) ++mBatches.split;
  if (!stored) return;
  // A batch that begins before the newest stored sample is either split, which the library says, or discarded, which it
  // does not.
  if (!split && mNewestStoredNs && static_cast<std::int64_t>(stored->firstNs) < *mNewestStoredNs) {
    ++mBatches.discarded;
    return;
  }
  mNewestStoredNs = static_cast<std::int64_t>(stored->lastNs);
}

void SessionFacts::AddFrame(FrameFacts const& facts) {
  bool const isWarmUp = facts.match == Match::kWarmUp;
  ++mMatch.frames;
  Seen const seen = {facts.frame, facts.timestampNs};
  if (!mFirst) mFirst = seen;
  mLast = seen;
  if (facts.exposureUs)
    mExposureUs.Add(static_cast<std::int64_t>(std::min<std::uint64_t>(*facts.exposureUs, INT64_MAX)));
  if (facts.readoutUs) mReadoutUs.Add(*facts.readoutUs);
  if (auto const newestNs = mNewestStoredNs ? mNewestStoredNs : mNewestSampleNs) {
    std::int64_t const leadNs = DifferenceNs(*newestNs, static_cast<std::int64_t>(facts.timestampNs));
    if (std::exchange(mHasFreshBatch, false)) mDelivery.Add(facts.frame, leadNs);
    bool const lacksSamples = LacksLaterSamples(facts) && facts.readoutEndUs && *facts.readoutEndUs < kLatestEndUs;
    if (lacksSamples && *facts.readoutEndUs > -kLatestEndUs)
      mMatch.shortfallNs.Add(DifferenceNs(*facts.readoutEndUs * 1000, leadNs));
  }
  if (isWarmUp) {
    ++mMatch.warmUp;
    return;
  }
  mMatch.starts[static_cast<std::size_t>(facts.start)].Add(facts.frame);
  bool const bothNear = facts.start == StartCause::kNear && facts.end == EndCause::kNear;
  if (bothNear) ++mMatch.bothNear;
  if (facts.exposureUs && facts.readoutUs && *facts.exposureUs > *facts.readoutUs)
    mMatch.longExposures.Add(facts.frame);
  if (mMissingBatch == facts.frame && !bothNear) mBatches.missingUnmatched.Add(facts.frame);
  AddSpan(facts);
  AddAge(facts);
  AddSwitch(facts, bothNear);
}

void SessionFacts::AddSpan(FrameFacts const& facts) {
  if (facts.start == StartCause::kNear && facts.end) mMatch.ends[static_cast<std::size_t>(*facts.end)].Add(facts.frame);
  bool const gotPosition = facts.match == Match::kStart || facts.match == Match::kCarried;
  if (!gotPosition) return;
  if (facts.start == StartCause::kNear && !facts.end) mMatch.untoldEnds.Add(facts.frame);
  if (facts.coverage) {
    mMatch.coverage.Add(Millionths(*facts.coverage));
    mMatch.worstCoverage = std::min(mMatch.worstCoverage, *facts.coverage);
  }
  if (facts.lengthShare) mMatch.lengthShare.Add(Millionths(*facts.lengthShare));
  mMatch.spanSamples += facts.spanEntries;
  mMatch.repeatedSamples += facts.repeated;
  if (facts.repeated > 0) mMatch.repeated.Add(facts.frame);
  if (facts.match != Match::kCarried) return;
  mMatch.carried.Add(facts.frame);
  if (facts.ageUs) mMatch.carriedAgeUs.Add(*facts.ageUs);
}

// A position is as old as the first sample of its span was when the readout of the frame that uses it began.
void SessionFacts::AddAge(FrameFacts const& facts) {
  if (!facts.exposureUs) return;
  bool const gotPosition = facts.match == Match::kStart || facts.match == Match::kCarried;
  std::int64_t const startUs =
      DifferenceUs(static_cast<std::int64_t>(facts.timestampNs / 1000), static_cast<std::int64_t>(*facts.exposureUs));
  if (gotPosition) {
    mPositionUs = facts.ageUs ? std::optional(DifferenceUs(startUs, *facts.ageUs)) : std::nullopt;
  }
  if (!mPositionUs) return;
  std::int64_t const ageUs = DifferenceUs(startUs, *mPositionUs);
  if (!mMatch.oldest || ageUs > mMatch.oldest->ageUs) mMatch.oldest = {facts.frame, ageUs};
}

void SessionFacts::AddSwitch(FrameFacts const& facts, bool bothNear) {
  if (!facts.readoutUs) return;
  if (mReadoutNowUs && *mReadoutNowUs != *facts.readoutUs) {
    if (mSwitches.frames.count == 0) {
      mSwitches.firstFromUs = *mReadoutNowUs;
      mSwitches.firstToUs = *facts.readoutUs;
    }
    mSwitches.frames.Add(facts.frame);
    mSinceSwitch = kAfterSwitch;
  }
  mReadoutNowUs = facts.readoutUs;
  if (mSinceSwitch == 0) return;
  --mSinceSwitch;
  if (!bothNear) mSwitches.unmatched.Add(facts.frame);
}

void SessionFacts::AddReadoutDistance(Match match, double distance) {
  (match == Match::kCarried ? mCarriedDistance : mStartDistance).Add(Millionths(distance));
}

SessionFacts::Distances SessionFacts::ReadoutDistances(Match match) const {
  Histogram const& distances = match == Match::kCarried ? mCarriedDistance : mStartDistance;
  auto const median = distances.Median();
  if (!median) return {};
  return {*median / kMillionths, static_cast<double>(distances.Largest()) / kMillionths};
}

std::optional<double> SessionFacts::FrameIntervalUs() const {
  if (!mFirst || mFirst->frame == mLast->frame) return std::nullopt;
  auto const passedNs = static_cast<double>(
      DifferenceNs(static_cast<std::int64_t>(mLast->timestampNs), static_cast<std::int64_t>(mFirst->timestampNs)));
  return passedNs / 1e3 / (static_cast<double>(mLast->frame) - static_cast<double>(mFirst->frame));
}

std::optional<double> SessionFacts::SamplesPerFrame() const {
  if (mMatch.frames < 2) return std::nullopt;
  return static_cast<double>(mDelivered - mFirstBatch) / static_cast<double>(mMatch.frames - 1);
}

}  // namespace shadingctl
