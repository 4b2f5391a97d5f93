#include "tools/shadingctl/findings/SessionFacts.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <iterator>
#include <utility>

#include "tools/shadingctl/frame/FrameResult.h"

namespace shadingctl {
namespace {

constexpr std::uint32_t kAfterSwitch = 3;             // frames that a switch of the readout may cost
constexpr std::int64_t kLatestEndUs = 1000000000000;  // in which no readout ends
constexpr double kMillionths = 1e6;

std::int64_t Millionths(double value) { return std::llround(std::clamp(value, 0.0, 1e12) * kMillionths); }

constexpr std::size_t kFingerprint = 64;
constexpr double kFarInterval = 0.75;  // intervals between samples: half of one is usual

// The nearest sample to an end that lies between samples is farther away than samples are apart.
bool IsInGap(FrameFacts const& facts) {
  if (!facts.window) return false;
  auto const usualUs = kFarInterval * static_cast<double>(facts.window->intervalUs);
  auto const isFar = [&](std::optional<std::int64_t> const& us) { return us && static_cast<double>(*us) > usualUs; };
  if (facts.start == StartCause::kBetweenSamples) return isFar(facts.nearestUs);
  return facts.end == EndCause::kBetweenSamples && isFar(facts.endDistanceUs);
}

std::uint64_t HashOf(NSCam::Utils::SensorData const& sample) {
  std::uint64_t hash = static_cast<std::uint64_t>(sample.timestamp);
  for (float const position : {sample.oisHallX, sample.oisHallY}) {
    std::uint32_t bits = 0;
    std::memcpy(&bits, &position, sizeof bits);
    hash = (hash ^ bits) * 0x9E3779B97F4A7C15U;
    hash ^= hash >> 29U;
  }
  return hash;
}

bool LacksLaterSamples(FrameFacts const& facts) {
  return facts.start == StartCause::kNothingAfter || facts.start == StartCause::kWindowEndsEarly ||
         (facts.start == StartCause::kNear && facts.end == EndCause::kNotDelivered);
}

}  // namespace

void TimeRange::Add(std::int64_t value) {
  least = std::min(least, value);
  greatest = std::max(greatest, value);
}

void SessionFacts::AddSamples(std::uint32_t frame, std::vector<NSCam::Utils::SensorData> const& samples) {
  mHealth.Add(samples);
  for (auto const& sample : samples) {
    mLens.Add(frame, sample.timestamp, static_cast<double>(sample.oisHallX), static_cast<double>(sample.oisHallY));
    mNewestSampleNs = std::max(mNewestSampleNs.value_or(sample.timestamp), sample.timestamp);
    mFresh = {std::max(mFresh ? mFresh->newestNs : sample.timestamp, sample.timestamp), mBatchCallNs};
    mFingerprint.insert(HashOf(sample));
    if (mFingerprint.size() > kFingerprint) mFingerprint.erase(std::prev(mFingerprint.end()));
  }
}

void SessionFacts::BreakSamples() {
  mHealth.Break();
  mLens.Break();
}

void SessionFacts::AddBatch(std::uint32_t frame, std::size_t samples, std::optional<BatchStored> const& stored,
                            bool split, std::optional<std::uint64_t> callNs) {
  std::optional<std::int64_t> const computedNs = mLast && mLast->frame == frame && mUpdated != frame
                                                     ? std::optional(static_cast<std::int64_t>(mLast->timestampNs))
                                                     : std::nullopt;
  if (computedNs) {
    mBatches.afterwards.Add(frame, *computedNs);
    if (!mLastBothNear) ++mBatches.afterwardsUnmatched;
  }
  mUpdated = frame;
  mBatchCallNs = callNs;
  if (samples == 0) {
    mBatches.missing.Add(frame, LastFrameNs());
    mMissingBatch = frame;
    return;
  }
  mDelivered += samples;
  if (mFirstBatch == 0) mFirstBatch = samples;
  if (split) ++mBatches.split;
  if (!stored) return;
  mFresh = {static_cast<std::int64_t>(stored->lastNs), callNs};  // of a log, which has no samples
  // A batch that begins before the newest stored sample is either split, which the library says, or discarded, which it
  // does not.
  if (!split && mNewestStoredNs && static_cast<std::int64_t>(stored->firstNs) < *mNewestStoredNs) {
    mBatches.discarded.Add(frame, LastFrameNs());
    return;
  }
  mNewestStoredNs = static_cast<std::int64_t>(stored->lastNs);
}

void SessionFacts::AddFrame(FrameFacts const& facts, std::optional<std::uint64_t> callNs) {
  ++mMatch.frames;
  AddTimes(facts);
  AddLead(facts, callNs);
  bool const bothNear = facts.start == StartCause::kNear && facts.end == EndCause::kNear;
  bool const isWarmUp = facts.match == Match::kWarmUp;
  mLastBothNear = bothNear || isWarmUp;
  if (isWarmUp) {
    ++mMatch.warmUp;
    return;
  }
  auto const timeNs = static_cast<std::int64_t>(facts.timestampNs);
  mMatch.starts[static_cast<std::size_t>(facts.start)].Add(facts.frame, timeNs);
  if (bothNear) ++mMatch.bothNear;
  if (!bothNear && IsInGap(facts)) mMatch.inGaps.Add(facts.frame, timeNs);
  if (facts.exposureUs && facts.readoutUs) {
    if (*facts.exposureUs == 0) mMatch.noExposures.Add(facts.frame, timeNs);
    if (*facts.readoutUs == 0) mMatch.noReadouts.Add(facts.frame, timeNs);
    bool const isLong = *facts.readoutUs > 0 && *facts.exposureUs > *facts.readoutUs;
    if (isLong) mMatch.longExposures.Add(facts.frame, timeNs);
  }
  if (mMissingBatch == facts.frame && LacksLaterSamples(facts)) mBatches.missingUnmatched.Add(facts.frame);
  AddSpan(facts);
  AddAge(facts);
  AddSwitch(facts, bothNear);
}

// Several computations of one frame have times of their own.
void SessionFacts::AddTimes(FrameFacts const& facts) {
  Seen const seen = {facts.frame, facts.timestampNs};
  bool const isNext = !mLast || mLast->frame != facts.frame;
  auto const timeNs = static_cast<std::int64_t>(facts.timestampNs);
  if (mLast && isNext && facts.timestampNs <= mLast->timestampNs) mMatch.timesBackward.Add(facts.frame, timeNs);
  if (!mFirst) mFirst = seen;
  if (isNext) mLast = seen;
  if (facts.exposureUs)
    mExposureUs.Add(static_cast<std::int64_t>(std::min<std::uint64_t>(*facts.exposureUs, INT64_MAX)));
  if (facts.readoutUs) mReadoutUs.Add(*facts.readoutUs);
}

void SessionFacts::AddLead(FrameFacts const& facts, std::optional<std::uint64_t> callNs) {
  auto const timeNs = static_cast<std::int64_t>(facts.timestampNs);
  if (auto const fresh = std::exchange(mFresh, std::nullopt)) {
    DeliveryFacts::Lead lead = {facts.frame, timeNs, DifferenceNs(fresh->newestNs, timeNs),
                                std::int64_t{facts.readoutUs.value_or(0)} * 1000, std::nullopt};
    if (fresh->callNs) lead.overCallNs = DifferenceNs(fresh->newestNs, static_cast<std::int64_t>(*fresh->callNs));
    mDelivery.Add(lead);
  }
  auto const newestNs = mNewestStoredNs ? mNewestStoredNs : mNewestSampleNs;
  bool const isLacking = newestNs && LacksLaterSamples(facts) && facts.match != Match::kWarmUp;
  if (!isLacking) return;
  std::int64_t const endUs = facts.readoutEndUs.value_or(0);
  bool const isReal = facts.readoutEndUs && endUs < kLatestEndUs && endUs > -kLatestEndUs;
  std::int64_t const endNs = isReal ? DifferenceNs(timeNs, -endUs * 1000) : timeNs;
  // Within a sample interval of the end, nothing is missing: the samples are sparse.
  std::int64_t const usualNs = mLens.Windows().empty() ? 0 : mLens.Windows().back().usualIntervalNs;
  if (isReal && DifferenceNs(endNs, *newestNs) <= usualNs) return;
  if (isReal) mMatch.shortfallNs.Add(DifferenceNs(endNs, *newestNs));
  std::int64_t const latestUs = kToleranceUs + (facts.window ? facts.window->intervalUs : 0);
  bool const isLate = isReal && callNs && DifferenceNs(static_cast<std::int64_t>(*callNs), endNs) / 1000 > latestUs;
  (isLate ? mMatch.late : mMatch.lacking).Add(facts.frame, timeNs);
}

void SessionFacts::AddSpan(FrameFacts const& facts) {
  auto const timeNs = static_cast<std::int64_t>(facts.timestampNs);
  if (facts.start == StartCause::kNear && facts.end) {
    mMatch.ends[static_cast<std::size_t>(*facts.end)].Add(facts.frame, timeNs);
  }
  bool const gotPosition = facts.match == Match::kStart || facts.match == Match::kCarried;
  if (!gotPosition) return;
  if (facts.start == StartCause::kNear && !facts.end) mMatch.untoldEnds.Add(facts.frame, timeNs);
  if (facts.coverage) {
    mMatch.coverage.Add(Millionths(*facts.coverage));
    mMatch.worstCoverage = std::min(mMatch.worstCoverage, *facts.coverage);
  }
  if (facts.lengthShare) mMatch.lengthShare.Add(Millionths(*facts.lengthShare));
  mMatch.spanSamples += facts.spanEntries;
  mMatch.repeatedSamples += facts.repeated;
  if (facts.repeated > 0) mMatch.repeated.Add(facts.frame, timeNs);
  if (facts.match != Match::kCarried) return;
  mMatch.carried.Add(facts.frame, timeNs);
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
    mSwitches.frames.Add(facts.frame, static_cast<std::int64_t>(facts.timestampNs));
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

std::optional<double> SessionFacts::TrueIntervalUs() const {
  auto const intervalUs = mHealth.Summarize().intervalUs;
  return intervalUs ? std::optional(*intervalUs * mLens.HeldFor()) : std::nullopt;
}

std::optional<double> SessionFacts::SamplesPerFrame() const {
  if (mMatch.frames < 2) return std::nullopt;
  return static_cast<double>(mDelivered - mFirstBatch) / static_cast<double>(mMatch.frames - 1);
}

}  // namespace shadingctl
