#include <algorithm>

#include "lsc/HallWindow.h"
#include "lsc/TimeUnits.h"
#include "lsc/VeyraShadingUtil.h"
#include "lsc/log/Log.h"
#include "lsc/sensor/SplitTime.h"

namespace {

using NSCam::Utils::SensorData;
using Samples = VeyraShadingUtil::VeyraSensorData::Samples;
using FrameQueue = VeyraShadingUtil::VeyraSensorData::FrameQueue;

bool IsEarlier(SensorData const& a, SensorData const& b) { return a.timestamp < b.timestamp; }

bool IsBefore(SensorData const& sample, std::uint64_t timeNs) {
  return static_cast<std::uint64_t>(sample.timestamp) < timeNs;
}

std::size_t CountSamples(FrameQueue const& queue) {
  std::size_t count = 0;
  for (auto const& entry : queue) count += entry.second.size();
  return count;
}

// Where a run of samples begins.
struct Place {
  FrameQueue::const_iterator entry;
  std::size_t sample;
};

// The first sample of the joined sequence whose time, as an unsigned value, is at or after a given one.
struct Match {
  SensorData const* sample = nullptr;  // null: there is none
  std::size_t following = 0;           // samples from it to the newest one, itself included
};

// Samples are in signed order. A time before 0 is later than all others as an unsigned value, so with such times in the
// history the order and the comparison disagree and only a scan from the oldest sample on finds the first one.
Match FindByScan(FrameQueue const& queue, std::uint64_t timeNs) {
  std::size_t before = 0;
  for (auto const& [number, samples] : queue) {
    for (auto const& sample : samples) {
      if (!IsBefore(sample, timeNs)) return {&sample, CountSamples(queue) - before};
      ++before;
    }
  }
  return {};
}

// Without times before 0. The wanted time is mostly near the newest frame, so the walk begins there; it goes on while
// an entry begins at or after the time, for the one before it may hold an equal time.
Match FindFromNewest(FrameQueue const& queue, std::uint64_t timeNs) {
  Match match;
  for (auto entry = queue.rbegin(); entry != queue.rend(); ++entry) {
    Samples const& samples = entry->second;
    auto found = samples.begin();
    if (IsBefore(samples.front(), timeNs)) {
      found = std::lower_bound(samples.begin(), samples.end(), timeNs, IsBefore);
      if (found == samples.end()) break;
    }
    match.sample = &*found;
    match.following += static_cast<std::size_t>(samples.end() - found);
    if (found != samples.begin()) break;
  }
  return match;
}

bool HasTimesBeforeZero(FrameQueue const& queue) { return queue.front().second.front().timestamp < 0; }

Match FindAtOrAfter(FrameQueue const& queue, std::uint64_t timeNs) {
  if (queue.empty()) return {};
  return HasTimesBeforeZero(queue) ? FindByScan(queue, timeNs) : FindFromNewest(queue, timeNs);
}

// The beginning of the last `count` samples or, when there are fewer, of all of them; `held` is set to how many the
// walk from the newest entry has counted, which is all of them in the latter case.
Place FindLast(FrameQueue const& queue, std::size_t count, std::size_t& held) {
  held = 0;
  auto entry = queue.end();
  while (held < count && entry != queue.begin()) {
    --entry;
    held += entry->second.size();
  }
  return {entry, held > count ? held - count : 0};
}

// Hands `count` samples from `place` on, which must exist, to `take`, run by run.
template <typename Take>
void TakeSamples(Place place, std::size_t count, Take take) {
  while (count > 0) {
    Samples const& samples = place.entry->second;
    std::size_t const taken = std::min(samples.size() - place.sample, count);
    take(samples.data() + place.sample, taken);
    count -= taken;
    ++place.entry;
    place.sample = 0;
  }
}

// Replaces `out` by kWindowSize samples, the first of which is at `place`, the `following`-th from the newest one.
void CopyWindow(FrameQueue const&, Place const& place, std::size_t, Samples& out) {
  out.clear();
  out.reserve(lsc::kWindowSize);
  TakeSamples(place, lsc::kWindowSize,
              [&out](SensorData const* run, std::size_t count) { out.insert(out.end(), run, run + count); });
}

// Of a window that may hold less, only the samples from the first needed one on are read.
bool CopyNeeded(FrameQueue const& queue, std::size_t following, lsc::HallWindow& out) {
  if (!out.mayHoldLess() || HasTimesBeforeZero(queue)) return false;

  Match const first = FindFromNewest(queue, static_cast<std::uint64_t>(out.fromNs()));
  std::size_t const behindWindow = following - lsc::kWindowSize;
  bool const isInWindow = first.following > behindWindow && first.following <= following;
  if (!isInWindow || first.sample->timestamp >= out.byNs()) return false;

  std::size_t held = 0;
  TakeSamples(FindLast(queue, first.following, held), first.following - behindWindow,
              [&out](SensorData const* run, std::size_t count) { out.append(run, count); });
  return out.timesNs()[out.held() - 1] - out.timesNs()[0] >= lsc::kNsPerUs;  // more than one microsecond's
}

void CopyWindow(FrameQueue const& queue, Place const& place, std::size_t following, lsc::HallWindow& out) {
  out.begin(lsc::kWindowSize);
  if (CopyNeeded(queue, following, out)) return;

  out.begin(lsc::kWindowSize);
  TakeSamples(place, lsc::kWindowSize, [&out](SensorData const* run, std::size_t count) { out.append(run, count); });
}

// Merges a sorted run into another one, in place: only what lies behind the run's first sample moves.
void MergeInto(Samples& samples, SensorData const* run, std::size_t count) {
  std::size_t kept = samples.size();
  samples.resize(kept + count);
  std::size_t to = samples.size();
  while (count > 0) {
    bool const takeKept = kept > 0 && IsEarlier(run[count - 1], samples[kept - 1]);
    samples[--to] = takeKept ? samples[--kept] : run[--count];
  }
}

// Joins two sorted runs and divides them at `splitTimeNs`: `older` keeps what is earlier, `upper` gets the rest.
void DivideAt(std::int64_t splitTimeNs, Samples& older, Samples const& batch, Samples& upper) {
  auto const isLower = [splitTimeNs](SensorData const& sample) { return sample.timestamp < splitTimeNs; };
  auto const cut = std::partition_point(older.begin(), older.end(), isLower);
  auto const batchCut = std::partition_point(batch.begin(), batch.end(), isLower);

  upper.clear();
  upper.reserve(static_cast<std::size_t>((older.end() - cut) + (batch.end() - batchCut)));
  auto tail = cut;
  auto rest = batchCut;
  while (tail != older.end() && rest != batch.end()) upper.push_back(IsEarlier(*rest, *tail) ? *rest++ : *tail++);
  upper.insert(upper.end(), tail, older.end());
  upper.insert(upper.end(), rest, batch.end());

  older.erase(cut, older.end());
  MergeInto(older, batch.data(), static_cast<std::size_t>(batchCut - batch.begin()));
}

}  // namespace

VeyraShadingUtil::VeyraSensorData::~VeyraSensorData() { clear(); }

Samples const* VeyraShadingUtil::VeyraSensorData::place(unsigned int frameNumber, Samples& batch) {
  if (!std::is_sorted(batch.begin(), batch.end(), IsEarlier)) std::sort(batch.begin(), batch.end(), IsEarlier);

  bool overlaps = false;
  std::int64_t splitTimeNs = 0;
  if (!mFrameQueue.empty()) {
    Samples const& newest = mFrameQueue.back().second;
    std::int64_t const batchBeginsNs = batch.front().timestamp;
    std::int64_t const newestEndsNs = newest.back().timestamp;
    overlaps = newestEndsNs > batchBeginsNs;
    if (overlaps && newest.front().timestamp >= batchBeginsNs) return nullptr;
    if (overlaps) splitTimeNs = lsc::SplitTimeNs(batchBeginsNs, newestEndsNs);
  }

  // The memory of the entry that leaves serves the new one or, after an exchange, the next batch.
  Samples samples;
  if (mFrameQueue.size() >= mMaxFrames && mFrameQueue.size() > 1) {
    samples.swap(mFrameQueue.front().second);
    mFrameQueue.pop_front();
  }
  if (overlaps) {
    Samples& newest = mFrameQueue.back().second;
    DivideAt(splitTimeNs, newest, batch, samples);
    LSC_LOGI_NONZERO_FOR("pushValue", " split data frameNumber: %d lastData:%lu data:%lu splitTime:%llu",
                         static_cast<int>(frameNumber), newest.size(), samples.size(),
                         static_cast<unsigned long long>(splitTimeNs));
  } else {
    samples.swap(batch);
  }
  mFrameQueue.emplace_back(frameNumber, std::move(samples));
  if (mFrameQueue.size() > mMaxFrames) mFrameQueue.pop_front();
  return &mFrameQueue.back().second;
}

void VeyraShadingUtil::VeyraSensorData::pushValue(unsigned int frameNumber, Samples& batch) {
  lsc::MutexLock const lock(mDataMutex);
  if (batch.empty()) return;
  if (Samples const* const filed = place(frameNumber, batch)) batch = *filed;
}

VeyraShadingUtil::VeyraSensorData::Filed VeyraShadingUtil::VeyraSensorData::file(unsigned int frameNumber,
                                                                                 Samples& batch) {
  lsc::MutexLock const lock(mDataMutex);
  Samples const* const placed = place(frameNumber, batch);
  Samples const& samples = placed != nullptr ? *placed : batch;
  return {samples.size(), samples.front().timestamp, samples.back().timestamp, mFrameQueue.size()};
}

// Every call comes with mMonitorMutex held, which keeps pushValue and clear away.
void VeyraShadingUtil::VeyraSensorData::getDataByFrame(unsigned int frameNumber, Samples& out) LSC_NO_LOCK_CHECK {
  auto const newest = std::find_if(mFrameQueue.rbegin(), mFrameQueue.rend(),
                                   [frameNumber](auto const& entry) { return entry.first == frameNumber; });
  if (newest != mFrameQueue.rend()) out = newest->second;
}

template <typename Output>
void VeyraShadingUtil::VeyraSensorData::lookUp(unsigned long time, Output& out) {
  constexpr char kOperation[] = "getDataByTimestamp";
  lsc::MutexLock const lock(mDataMutex);
  LSC_LOGI_NONZERO_FOR(kOperation, " total data size:%lu", CountSamples(mFrameQueue));

  // From the match as many as the window holds before it; never fewer than the window, never more than there are.
  Match const match = FindAtOrAfter(mFrameQueue, time);
  std::size_t const wanted = std::max(match.following + lsc::kWindowBeforeMatch, lsc::kWindowSize);
  std::size_t held = 0;
  Place const place = FindLast(mFrameQueue, wanted, held);
  if (match.sample == nullptr || held < lsc::kWindowSize) {
    LSC_LOGW_FOR(kOperation, "no data matched");
    return;
  }
  LSC_LOGI_NONZERO_FOR(kOperation, "match data offset:%ld timestamp:%llu",
                       static_cast<long>(CountSamples(mFrameQueue) - match.following),
                       static_cast<unsigned long long>(match.sample->timestamp));
  CopyWindow(mFrameQueue, place, std::min(wanted, held), out);
}

void VeyraShadingUtil::VeyraSensorData::getDataByTimestamp(unsigned long time, Samples& out) { lookUp(time, out); }

void VeyraShadingUtil::VeyraSensorData::getHallWindow(unsigned long time, lsc::HallWindow& out) { lookUp(time, out); }

void VeyraShadingUtil::VeyraSensorData::clear() {
  lsc::MutexLock const lock(mDataMutex);
  mFrameQueue.clear();
}
