#include "tools/shadingctl/findings/SessionFacts.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <iterator>
#include <utility>

namespace shadingctl {
namespace {

constexpr std::uint32_t kAfterSwitch = 3;             // frames that a switch of the readout may cost
constexpr std::int64_t kLatestEndUs = 1000000000000;  // in which no readout ends
constexpr double kMillionths = 1e6;

std::int64_t Millionths(double value) { return std::llround(std::clamp(value, 0.0, 1e12) * kMillionths); }

constexpr std::size_t kFingerprint = 64;
constexpr double kFarInterval = 0.75;  // intervals between samples: half of one is usual

// The nearest sample to an end that lies between samples is farther away than samples are apart.
bool IsInGap(Frame const& frame) {
  auto const& [row, facts] = frame;
  if (!facts.window) return false;
  auto const usualUs = kFarInterval * static_cast<double>(facts.window->intervalUs);
  auto const isFar = [&](std::optional<std::int64_t> const& us) { return us && static_cast<double>(*us) > usualUs; };
  if (facts.start == StartCause::kBetweenSamples) return isFar(facts.nearestUs);
  return facts.end == EndCause::kBetweenSamples && isFar(row.endDistanceUs);
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

void SessionFacts::AddBatch(std::uint32_t frame, std::size_t samples, std::optional<BatchStored> const& stored,
                            bool split, std::optional<std::uint64_t> callNs) {
  bool const isComputed = mLast && mLast->frame == frame && mUpdated != frame;
  if (isComputed) {
    mBatches.afterwards.Add(*mLast);
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

void SessionFacts::AddFrame(Frame const& frame, std::optional<std::uint64_t> callNs) {
  auto const& [row, facts] = frame;
  ++mMatch.frames;
  AddTimes(row);
  AddLead(frame, callNs);
  bool const bothNear = facts.start == StartCause::kNear && facts.end == EndCause::kNear;
  bool const isWarmUp = row.match == Match::kWarmUp;
  mLastBothNear = bothNear || isWarmUp;
  if (isWarmUp) {
    ++mMatch.warmUp;
    return;
  }
  mMatch.starts[static_cast<std::size_t>(facts.start)].Add(row);
  if (bothNear) ++mMatch.bothNear;
  if (!bothNear && IsInGap(frame)) mMatch.inGaps.Add(row);
  if (mMissingBatch == row.frame && LacksLaterSamples(facts)) mBatches.missingUnmatched.Add(row.frame);
  AddSpan(frame);
  if (!row.times) return;
  if (row.times->exposureUs == 0) mMatch.noExposures.Add(row);
  if (row.times->readoutUs == 0) mMatch.noReadouts.Add(row);
  bool const isLong = row.times->readoutUs > 0 && row.times->exposureUs > row.times->readoutUs;
  if (isLong) mMatch.longExposures.Add(row);
  AddAge(row);
  AddSwitch(row, bothNear);
}

// Several computations of one frame have times of their own.
void SessionFacts::AddTimes(FrameResult const& row) {
  bool const isNext = !mLast || mLast->frame != row.frame;
  if (mLast && isNext && row.timestampNs <= mLast->timestampNs) mMatch.timesBackward.Add(row);
  if (!mFirst) mFirst = row;
  if (isNext) mLast = row;
  if (!row.times) return;
  mExposureUs.Add(static_cast<std::int64_t>(std::min<std::uint64_t>(row.times->exposureUs, INT64_MAX)));
  mReadoutUs.Add(row.times->readoutUs);
}

void SessionFacts::AddLead(Frame const& frame, std::optional<std::uint64_t> callNs) {
  auto const& [row, facts] = frame;
  auto const timeNs = static_cast<std::int64_t>(row.timestampNs);
  if (auto const fresh = std::exchange(mFresh, std::nullopt)) {
    DeliveryFacts::Lead lead = {row.frame, timeNs, TimeDifference(fresh->newestNs, timeNs),
                                row.times ? std::int64_t{row.times->readoutUs} * 1000 : 0, std::nullopt};
    if (fresh->callNs) lead.overCallNs = TimeDifference(fresh->newestNs, static_cast<std::int64_t>(*fresh->callNs));
    mDelivery.Add(lead);
  }
  auto const newestNs = mNewestStoredNs ? mNewestStoredNs : mNewestSampleNs;
  bool const isLacking = newestNs && LacksLaterSamples(facts) && row.match != Match::kWarmUp;
  if (!isLacking) return;
  std::int64_t const endUs = facts.readoutEndUs.value_or(0);
  bool const isReal = facts.readoutEndUs && endUs < kLatestEndUs && endUs > -kLatestEndUs;
  std::int64_t const endNs = isReal ? TimeDifference(timeNs, -endUs * 1000) : timeNs;
  // Within a sample interval of the end, nothing is missing: the samples are sparse.
  std::int64_t const usualNs = mLens.Windows().empty() ? 0 : mLens.Windows().back().usualIntervalNs;
  if (isReal && TimeDifference(endNs, *newestNs) <= usualNs) return;
  if (isReal) mMatch.shortfallNs.Add(TimeDifference(endNs, *newestNs));
  std::int64_t const latestUs = kToleranceUs + (facts.window ? facts.window->intervalUs : 0);
  bool const isLate = isReal && callNs && TimeDifference(static_cast<std::int64_t>(*callNs), endNs) / 1000 > latestUs;
  (isLate ? mMatch.late : mMatch.lacking).Add(row);
}

void SessionFacts::AddSpan(Frame const& frame) {
  auto const& [row, facts] = frame;
  bool const beginsNear = facts.start == StartCause::kNear;
  if (beginsNear && facts.end) mMatch.ends[static_cast<std::size_t>(*facts.end)].Add(row);
  if (!row.HasNewPosition()) return;
  if (beginsNear && !facts.end) mMatch.untoldEnds.Add(row);
  if (row.coverage) {
    mMatch.coverage.Add(Millionths(*row.coverage));
    mMatch.worstCoverage = std::min(mMatch.worstCoverage, *row.coverage);
  }
  if (facts.lengthShare) mMatch.lengthShare.Add(Millionths(*facts.lengthShare));
  mMatch.spanSamples += facts.spanEntries;
  mMatch.repeatedSamples += row.repeatedSamples.value_or(0);
  if (row.repeatedSamples > 0U) mMatch.repeated.Add(row);
  if (row.match != Match::kCarried) return;
  mMatch.carried.Add(row);
  if (row.spanAgeUs) mMatch.carriedAgeUs.Add(*row.spanAgeUs);
}

// A position is as old as the first sample of its span was when the readout of the frame that uses it began.
void SessionFacts::AddAge(FrameResult const& row) {
  std::int64_t const startUs = TimeDifference(static_cast<std::int64_t>(row.timestampNs / 1000),
                                              static_cast<std::int64_t>(row.times->exposureUs));
  if (row.HasNewPosition()) {
    mPositionUs = row.spanAgeUs ? std::optional(TimeDifference(startUs, *row.spanAgeUs)) : std::nullopt;
  }
  if (!mPositionUs) return;
  std::int64_t const ageUs = TimeDifference(startUs, *mPositionUs);
  if (!mMatch.oldest || ageUs > mMatch.oldest->ageUs) mMatch.oldest = {row.frame, ageUs};
}

void SessionFacts::AddSwitch(FrameResult const& row, bool bothNear) {
  if (mReadoutNowUs && *mReadoutNowUs != row.times->readoutUs) {
    if (mSwitches.frames.count == 0) {
      mSwitches.firstFromUs = *mReadoutNowUs;
      mSwitches.firstToUs = row.times->readoutUs;
    }
    mSwitches.frames.Add(row);
    mSinceSwitch = kAfterSwitch;
  }
  mReadoutNowUs = row.times->readoutUs;
  if (mSinceSwitch == 0) return;
  --mSinceSwitch;
  if (!bothNear) mSwitches.unmatched.Add(row.frame);
}

void SessionFacts::AddReadoutDistance(Match match, double distance) {
  mDistances[match == Match::kCarried].Add(Millionths(distance));
}

SessionFacts::Distances SessionFacts::ReadoutDistances(Match match) const {
  Histogram const& distances = mDistances[match == Match::kCarried];
  auto const median = distances.Median();
  if (!median) return {};
  return {*median / kMillionths, static_cast<double>(distances.Largest()) / kMillionths};
}

std::optional<double> SessionFacts::FrameIntervalUs() const {
  if (!mFirst || mFirst->frame == mLast->frame) return std::nullopt;
  auto const passedNs = static_cast<double>(TimeDifference(*LastFrameNs(), FirstFrameNs()));
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
