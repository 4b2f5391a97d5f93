#include <algorithm>
#include <iterator>

#include "lsc/VeyraShadingUtil.h"
#include "lsc/log/Log.h"
#include "lsc/sensor/SplitTime.h"

namespace {

using NSCam::Utils::SensorData;
using Samples = VeyraShadingUtil::VeyraSensorData::Samples;
using FrameQueue = std::deque<std::pair<unsigned int, Samples>>;

constexpr std::size_t kWindowSize = 100;        // samples that a look-up by time answers
constexpr std::size_t kWindowBeforeMatch = 50;  // of them, those before the matched one

bool IsEarlier(SensorData const& a, SensorData const& b) { return a.timestamp < b.timestamp; }

// A sample of the joined sequence of all entries.
struct Match {
  bool found;
  std::size_t index;
  SensorData const* sample;
};

// The first sample whose time, as an unsigned value, is at or after `timeNs`. Entries are in signed order, so only one
// without times before 0 is also in unsigned order, and may be passed over by its last sample.
Match FindAtOrAfter(FrameQueue const& queue, std::uint64_t timeNs) {
  auto const unsignedTimeNs = [](SensorData const& sample) { return static_cast<std::uint64_t>(sample.timestamp); };
  std::size_t before = 0;
  for (auto const& [number, samples] : queue) {
    if (samples.front().timestamp < 0 || unsignedTimeNs(samples.back()) >= timeNs) {
      auto const match = std::find_if(samples.begin(), samples.end(),
                                      [&](SensorData const& sample) { return unsignedTimeNs(sample) >= timeNs; });
      if (match != samples.end()) {
        return {true, before + static_cast<std::size_t>(match - samples.begin()), &*match};
      }
    }
    before += samples.size();
  }
  return {false, 0, nullptr};
}

std::size_t CountSamples(FrameQueue const& queue) {
  std::size_t count = 0;
  for (auto const& entry : queue) count += entry.second.size();
  return count;
}

// Replaces `out` by `count` samples of the joined sequence that begin at index `first`; they must exist.
void CopySamples(FrameQueue const& queue, std::size_t first, std::size_t count, Samples& out) {
  out.clear();
  out.reserve(count);
  for (auto const& [number, samples] : queue) {
    if (first >= samples.size()) {
      first -= samples.size();
      continue;
    }
    std::size_t const taken = std::min(samples.size() - first, count - out.size());
    auto const begin = samples.begin() + static_cast<std::ptrdiff_t>(first);
    out.insert(out.end(), begin, begin + static_cast<std::ptrdiff_t>(taken));
    if (out.size() == count) return;
    first = 0;
  }
}

// Merges two sorted runs and divides them at `splitTimeNs`: what is earlier stays in `older`, the rest goes to `newer`.
void DivideAt(std::int64_t splitTimeNs, Samples& older, Samples& newer) {
  Samples merged;
  merged.reserve(older.size() + newer.size());
  std::merge(older.begin(), older.end(), newer.begin(), newer.end(), std::back_inserter(merged), IsEarlier);
  auto const cut = std::partition_point(
      merged.begin(), merged.end(), [splitTimeNs](SensorData const& sample) { return sample.timestamp < splitTimeNs; });
  older.assign(merged.begin(), cut);
  newer.assign(cut, merged.end());
}

}  // namespace

VeyraShadingUtil::VeyraSensorData::~VeyraSensorData() { clear(); }

void VeyraShadingUtil::VeyraSensorData::pushValue(unsigned int frameNumber, Samples& batch) {
  lsc::MutexLock const lock(mDataMutex);
  if (batch.empty()) return;

  if (!std::is_sorted(batch.begin(), batch.end(), IsEarlier)) std::sort(batch.begin(), batch.end(), IsEarlier);

  if (!mFrameQueue.empty()) {
    Samples& newest = mFrameQueue.back().second;
    std::int64_t const batchBeginsNs = batch.front().timestamp;
    std::int64_t const newestEndsNs = newest.back().timestamp;
    if (newestEndsNs > batchBeginsNs) {
      if (newest.front().timestamp >= batchBeginsNs) return;

      std::int64_t const splitTimeNs = lsc::SplitTimeNs(batchBeginsNs, newestEndsNs);
      DivideAt(splitTimeNs, newest, batch);
      LSC_LOGI_NONZERO(" split data frameNumber: %d lastData:%lu data:%lu splitTime:%llu",
                       static_cast<int>(frameNumber), newest.size(), batch.size(),
                       static_cast<unsigned long long>(splitTimeNs));
    }
  }
  mFrameQueue.emplace_back(frameNumber, batch);
  if (mFrameQueue.size() > mMaxFrames) mFrameQueue.pop_front();
}

// Every call comes with mMonitorMutex held, which keeps pushValue and clear away.
void VeyraShadingUtil::VeyraSensorData::getDataByFrame(unsigned int frameNumber, Samples& out) LSC_NO_LOCK_CHECK {
  auto const newest = std::find_if(mFrameQueue.rbegin(), mFrameQueue.rend(),
                                   [frameNumber](auto const& entry) { return entry.first == frameNumber; });
  if (newest != mFrameQueue.rend()) out = newest->second;
}

void VeyraShadingUtil::VeyraSensorData::getDataByTimestamp(unsigned long time, Samples& out) {
  lsc::MutexLock const lock(mDataMutex);
  std::size_t const count = CountSamples(mFrameQueue);
  LSC_LOGI_NONZERO(" total data size:%lu", count);

  Match const match = FindAtOrAfter(mFrameQueue, time);
  if (!match.found || count < kWindowSize) {
    LSC_LOGW("no data matched");
    return;
  }
  LSC_LOGI_NONZERO("match data offset:%ld timestamp:%llu", static_cast<long>(match.index),
                   static_cast<unsigned long long>(match.sample->timestamp));

  std::size_t const wanted = match.index > kWindowBeforeMatch ? match.index - kWindowBeforeMatch : 0;
  CopySamples(mFrameQueue, std::min(wanted, count - kWindowSize), kWindowSize, out);
}

void VeyraShadingUtil::VeyraSensorData::clear() {
  lsc::MutexLock const lock(mDataMutex);
  mFrameQueue.clear();
}

std::size_t VeyraShadingUtil::VeyraSensorData::frameCount() {
  lsc::MutexLock const lock(mDataMutex);
  return mFrameQueue.size();
}
