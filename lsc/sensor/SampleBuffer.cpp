#include <algorithm>

#include "lsc/VeyraShadingUtil.h"
#include "lsc/log/Log.h"
#include "lsc/sensor/SampleOrder.h"
#include "lsc/sensor/SplitTime.h"

namespace {

using lsc::FrameQueue;
using lsc::IsEarlier;
using lsc::SampleCursor;
using lsc::SampleRange;
using lsc::Samples;
using NSCam::Utils::SensorData;

constexpr std::size_t kWindowBeforeMatch = 50;  // samples of a window before the matched one

// Number of samples from the first match to the newest, 0 without a match; a sample at or after the time matches, both
// compared as unsigned values. The history is in signed order, in which a time before 0 comes first, while as an
// unsigned value it is later than all others: with such times in it only a scan from the oldest sample on finds the
// first match.
std::size_t RemainingByScan(FrameQueue const& queue, std::uint64_t timeNs) {
  std::size_t remaining = queue.sampleCount();
  for (std::size_t frame = 0; frame < queue.size(); ++frame) {
    for (SensorData const& sample : queue[frame].second) {
      if (static_cast<std::uint64_t>(sample.timestamp) >= timeNs) return remaining;
      --remaining;
    }
  }
  return 0;
}

// As RemainingByScan, but by binary search where the two orders agree.
std::size_t RemainingFrom(FrameQueue const& queue, std::uint64_t timeNs) {
  if (queue.empty()) return 0;
  if (queue.front().second.front().timestamp < 0) return RemainingByScan(queue, timeNs);
  auto const signedNs = static_cast<std::int64_t>(timeNs);
  return signedNs < 0 ? 0 : SampleCursor::LowerBound(queue, signedNs).remaining();
}

// Merges sorted samples into a sorted, non-empty vector: appends the tail that is later than all of it, then merges the
// rest backwards in place.
void MergeInto(Samples& samples, SensorData const* added, std::size_t count) {
  std::size_t kept = samples.size();
  samples.resize(kept + count);
  std::copy(added, added + count, samples.data() + kept);
  SensorData const* const tail = std::lower_bound(added, added + count, samples[kept - 1], IsEarlier);
  auto remaining = static_cast<std::size_t>(tail - added);
  for (std::size_t to = kept + remaining; remaining > 0;) {
    bool const takeKept = kept > 0 && IsEarlier(added[remaining - 1], samples[kept - 1]);
    samples[--to] = takeKept ? samples[--kept] : added[--remaining];
  }
}

// Merges two sorted batches and cuts the result at `splitTimeNs`: `older` keeps what is earlier, `upper` gets the rest.
// Requires: the first sample of `older` is earlier than the cut, its last one is not.
void SplitAt(std::int64_t splitTimeNs, Samples& older, Samples const& batch, Samples& upper) {
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

Samples const* VeyraShadingUtil::VeyraSensorData::insertSorted(unsigned int frameNumber, Samples& batch) {
  if (!std::is_sorted(batch.begin(), batch.end(), IsEarlier)) lsc::SortByTime(batch);

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
    mFrameQueue.changeNewest([&](Samples& newest) { SplitAt(splitTimeNs, newest, batch, samples); });
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

void VeyraShadingUtil::VeyraSensorData::pushValue(unsigned int frameNumber, Samples& batch) noexcept {
  lsc::MutexLock const lock(mDataMutex);
  if (batch.empty()) return;
  if (Samples const* const inserted = insertSorted(frameNumber, batch)) {
    batch.resize(inserted->size());
    std::copy(inserted->begin(), inserted->end(), batch.begin());
  }
}

VeyraShadingUtil::VeyraSensorData::Insertion VeyraShadingUtil::VeyraSensorData::insert(unsigned int frameNumber,
                                                                                       Samples& batch) noexcept {
  lsc::MutexLock const lock(mDataMutex);
  Samples const* const inserted = insertSorted(frameNumber, batch);
  Samples const& samples = inserted != nullptr ? *inserted : batch;
  Insertion const result = {samples.size(), samples.front().timestamp, samples.back().timestamp, mFrameQueue.size()};
  mFrameQueue.giveBackExcess(batch);
  return result;
}

// Takes no lock: every call comes with mMonitorMutex held, which keeps pushValue and clear away.
SampleRange VeyraShadingUtil::VeyraSensorData::findByFrame(unsigned int frameNumber) const noexcept
    LSC_NO_THREAD_SAFETY_ANALYSIS {
  std::size_t remaining = 0;
  for (std::size_t frame = mFrameQueue.size(); frame-- > 0;) {
    auto const& [number, samples] = mFrameQueue[frame];
    remaining += samples.size();
    if (number == frameNumber) return {mFrameQueue, remaining, samples.size()};
  }
  return {};
}

SampleRange VeyraShadingUtil::VeyraSensorData::locate(unsigned long time) const noexcept {
  constexpr char kOperation[] = "getDataByTimestamp";
  std::size_t const count = mFrameQueue.sampleCount();
  LSC_LOGI_NONZERO_FOR(kOperation, " total data size:%lu", count);

  std::size_t const remaining = RemainingFrom(mFrameQueue, time);
  if (remaining == 0 || count < lsc::kWindowSize) {
    LSC_LOGW_FOR(kOperation, "no data matched");
    return {};
  }
  LSC_LOGI_NONZERO_FOR(kOperation, "match data offset:%ld timestamp:%llu", static_cast<long>(count - remaining),
                       static_cast<unsigned long long>(SampleCursor::FromNewest(mFrameQueue, remaining)->timestamp));
  // 50 samples before the match, but never beyond either end of the history.
  std::size_t const first = std::clamp(remaining + kWindowBeforeMatch, lsc::kWindowSize, count);
  return {mFrameQueue, first, lsc::kWindowSize};
}

SampleRange VeyraShadingUtil::VeyraSensorData::findByTimestamp(unsigned long time) noexcept {
  lsc::MutexLock const lock(mDataMutex);
  return locate(time);
}

void VeyraShadingUtil::VeyraSensorData::getDataByFrame(unsigned int frameNumber, Samples& out) noexcept {
  findByFrame(frameNumber).copyTo(out);
}

void VeyraShadingUtil::VeyraSensorData::getDataByTimestamp(unsigned long time, Samples& out) noexcept {
  lsc::MutexLock const lock(mDataMutex);
  locate(time).copyTo(out);
}

void VeyraShadingUtil::VeyraSensorData::clear() noexcept {
  lsc::MutexLock const lock(mDataMutex);
  mFrameQueue.clear();
}
