#include <algorithm>

#include "lsc/SampleWindow.h"
#include "lsc/VeyraShadingUtil.h"
#include "lsc/log/Log.h"
#include "lsc/sensor/SampleOrder.h"
#include "lsc/sensor/SplitTime.h"

namespace {

using lsc::FrameQueue;
using lsc::IsEarlier;
using lsc::Samples;
using lsc::SampleWindow;
using NSCam::Utils::SensorData;

// std::is_sorted, four samples at a time: it looks at every sample of every batch.
bool IsInOrder(Samples const& samples) {
  SensorData const* sample = samples.data();
  SensorData const* const end = sample + samples.size();
  std::int64_t previousNs = sample->timestamp;
  for (; end - sample >= 4; sample += 4) {
    std::int64_t const a = sample[0].timestamp;
    std::int64_t const b = sample[1].timestamp;
    std::int64_t const c = sample[2].timestamp;
    std::int64_t const d = sample[3].timestamp;
    if (a < previousNs || b < a || c < b || d < c) return false;
    previousNs = d;
  }
  for (; sample != end; ++sample) {
    if (sample->timestamp < previousNs) return false;
    previousNs = sample->timestamp;
  }
  return true;
}

// How many samples there are from the first one whose time, as an unsigned value, is at or after a given one, to the
// newest one; 0 when there is no such sample. Samples are in signed order. A time before 0 is later than all others as
// an unsigned value, so with such times in the history the order and the comparison disagree and only a scan from the
// oldest sample on finds the first one.
std::size_t FollowingByScan(FrameQueue const& queue, std::uint64_t timeNs) {
  std::size_t following = queue.sampleCount();
  for (std::size_t frame = 0; frame < queue.size(); ++frame) {
    for (SensorData const& sample : queue[frame].second) {
      if (static_cast<std::uint64_t>(sample.timestamp) >= timeNs) return following;
      --following;
    }
  }
  return 0;
}

std::size_t Following(FrameQueue const& queue, std::uint64_t timeNs) {
  if (queue.empty()) return 0;
  if (queue.front().second.front().timestamp < 0) return FollowingByScan(queue, timeNs);
  auto const signedNs = static_cast<std::int64_t>(timeNs);
  return signedNs < 0 ? 0 : lsc::SampleCursor::AtOrAfter(queue, signedNs).following();
}

// Merges a sorted run into another one, which is not empty: what is later than all that was there is copied as it lies,
// and only the rest, with what it belongs before, is moved one by one.
void MergeInto(Samples& samples, SensorData const* run, std::size_t count) {
  std::size_t kept = samples.size();
  samples.resize(kept + count);
  std::copy(run, run + count, samples.data() + kept);
  SensorData const* const later = std::lower_bound(run, run + count, samples[kept - 1], IsEarlier);
  auto remaining = static_cast<std::size_t>(later - run);
  for (std::size_t to = kept + remaining; remaining > 0;) {
    bool const takeKept = kept > 0 && IsEarlier(run[remaining - 1], samples[kept - 1]);
    samples[--to] = takeKept ? samples[--kept] : run[--remaining];
  }
}

// Joins two sorted runs and divides them at `splitTimeNs`, which lies after the first sample of `older` and not after
// its last one: `older` keeps what is earlier, `upper` gets the rest.
void DivideAt(std::int64_t splitTimeNs, Samples& older, Samples const& batch, Samples& upper) {
  auto const countBefore = [splitTimeNs](Samples const& samples) {
    auto const cut = std::partition_point(samples.begin(), samples.end(),
                                          [=](SensorData const& sample) { return sample.timestamp < splitTimeNs; });
    return static_cast<std::size_t>(cut - samples.begin());
  };
  std::size_t const cut = countBefore(older);
  std::size_t const batchCut = countBefore(batch);

  upper.resize(older.size() - cut);
  std::copy(older.data() + cut, older.data() + older.size(), upper.data());
  MergeInto(upper, batch.data() + batchCut, batch.size() - batchCut);

  older.resize(cut);
  MergeInto(older, batch.data(), batchCut);
}

}  // namespace

VeyraShadingUtil::VeyraSensorData::VeyraSensorData(unsigned int maxFrames)
    : mMaxFrames(maxFrames), mFrameQueue(std::size_t{maxFrames} + 1) {}  // one too many between push and pop

VeyraShadingUtil::VeyraSensorData::~VeyraSensorData() { clear(); }

Samples const* VeyraShadingUtil::VeyraSensorData::place(unsigned int frameNumber, Samples& batch) {
  if (!IsInOrder(batch)) lsc::SortByTime(batch);

  bool overlaps = false;
  if (!mFrameQueue.empty()) {
    Samples const& newest = mFrameQueue.back().second;
    overlaps = newest.back().timestamp > batch.front().timestamp;
    if (overlaps && newest.front().timestamp >= batch.front().timestamp) return nullptr;
  }
  Samples& samples = mFrameQueue.next();
  if (overlaps) {
    std::int64_t const splitTimeNs =
        lsc::SplitTimeNs(batch.front().timestamp, mFrameQueue.back().second.back().timestamp);
    mFrameQueue.changeNewest([&](Samples& newest) { DivideAt(splitTimeNs, newest, batch, samples); });
    LSC_LOGI_NONZERO_FOR("pushValue", " split data frameNumber: %d lastData:%lu data:%lu splitTime:%llu",
                         static_cast<int>(frameNumber), mFrameQueue.back().second.size(), samples.size(),
                         static_cast<unsigned long long>(splitTimeNs));
  } else {
    samples.swap(batch);
  }
  mFrameQueue.push(frameNumber);
  if (mFrameQueue.size() > mMaxFrames) mFrameQueue.popOldest();
  return &samples;
}

void VeyraShadingUtil::VeyraSensorData::pushValue(unsigned int frameNumber, Samples& batch) {
  lsc::MutexLock const lock(mDataMutex);
  if (batch.empty()) return;
  if (Samples const* const filed = place(frameNumber, batch)) {
    batch.resize(filed->size());
    std::copy(filed->begin(), filed->end(), batch.begin());
  }
}

VeyraShadingUtil::VeyraSensorData::Filed VeyraShadingUtil::VeyraSensorData::file(unsigned int frameNumber,
                                                                                 Samples& batch) {
  lsc::MutexLock const lock(mDataMutex);
  Samples const* const placed = place(frameNumber, batch);
  Samples const& samples = placed != nullptr ? *placed : batch;
  return {samples.size(), samples.front().timestamp, samples.back().timestamp, mFrameQueue.size()};
}

// Every call comes with mMonitorMutex held, which keeps pushValue and clear away.
void VeyraShadingUtil::VeyraSensorData::readByFrame(unsigned int frameNumber,
                                                    lsc::SampleReader& reader) LSC_NO_LOCK_CHECK {
  std::size_t following = 0;
  for (std::size_t frame = mFrameQueue.size(); frame-- > 0;) {
    auto const& [number, samples] = mFrameQueue[frame];
    following += samples.size();
    if (number == frameNumber) return reader.read(SampleWindow(mFrameQueue, following, samples.size()));
  }
}

void VeyraShadingUtil::VeyraSensorData::readByTimestamp(unsigned long time, lsc::SampleReader& reader) {
  constexpr char kOperation[] = "getDataByTimestamp";
  lsc::MutexLock const lock(mDataMutex);
  std::size_t const count = mFrameQueue.sampleCount();
  LSC_LOGI_NONZERO_FOR(kOperation, " total data size:%lu", count);

  std::size_t const following = Following(mFrameQueue, time);
  if (following == 0 || count < lsc::kWindowSize) {
    LSC_LOGW_FOR(kOperation, "no data matched");
    return;
  }
  LSC_LOGI_NONZERO_FOR(
      kOperation, "match data offset:%ld timestamp:%llu", static_cast<long>(count - following),
      static_cast<unsigned long long>(lsc::SampleCursor::FromNewest(mFrameQueue, following)->timestamp));
  // From the match as many as the window holds before it; never fewer than the window, never more than there are.
  std::size_t const wanted = std::max(following + lsc::kWindowBeforeMatch, lsc::kWindowSize);
  reader.read(SampleWindow(mFrameQueue, std::min(wanted, count), lsc::kWindowSize));
}

void VeyraShadingUtil::VeyraSensorData::getDataByFrame(unsigned int frameNumber, Samples& out) {
  lsc::SampleCopy copy(out);
  readByFrame(frameNumber, copy);
}

void VeyraShadingUtil::VeyraSensorData::getDataByTimestamp(unsigned long time, Samples& out) {
  lsc::SampleCopy copy(out);
  readByTimestamp(time, copy);
}

void VeyraShadingUtil::VeyraSensorData::clear() {
  lsc::MutexLock const lock(mDataMutex);
  mFrameQueue.clear();
}
