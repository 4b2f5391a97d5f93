#include "model/ReferenceModel.h"

#include <algorithm>
#include <cstdio>

namespace model {

namespace {

constexpr std::size_t kMaxFrames = 30;
constexpr std::size_t kWindow = 100;
constexpr std::size_t kWindowBefore = 50;

bool IsEarlier(Sample const& left, Sample const& right) { return left.timestamp < right.timestamp; }

// Exact, and rounded toward zero, also where the sum does not fit.
std::int64_t SplitTimeNs(std::int64_t firstNs, std::int64_t lastNs) {
  return static_cast<std::int64_t>((static_cast<__int128>(firstNs) + lastNs) / 2);
}

}  // namespace

void ReferenceModel::Write(int level, char const* format, std::va_list arguments) {
  char text[1024];
  std::vsnprintf(text, sizeof text, format, arguments);
  messages.push_back({level, text});
}

void ReferenceModel::Info(char const* format, ...) {
  if (!keepsMessages) return;
  std::va_list arguments;
  va_start(arguments, format);
  Write(3, format, arguments);
  va_end(arguments);
}

void ReferenceModel::Warning(char const* format, ...) {
  if (!keepsMessages) return;
  std::va_list arguments;
  va_start(arguments, format);
  Write(2, format, arguments);
  va_end(arguments);
}

void ReferenceModel::UpdateSensorData(std::uint32_t frameNumber, std::uint64_t timestampNs, Samples& batch) {
  updateSensorData(frameNumber, timestampNs, batch);
}

void ReferenceModel::updateSensorData(std::uint32_t frameNumber, std::uint64_t timestampNs, Samples& batch) {
  if (batch.empty()) {
    Warning("[updateSensorData] no sensor data for type %d", mSensorType);
    return;
  }
  pushValue(frameNumber, batch);
  if (logLevel >= 4) {
    Info("[updateSensorData] update sensor data F:(%u) TS:(%lu) size:%zu, queue size:%zu, timestamp interv:%lu - %lu",
         frameNumber, timestampNs, batch.size(), mFrameQueue.size(),
         static_cast<std::uint64_t>(batch.front().timestamp), static_cast<std::uint64_t>(batch.back().timestamp));
  }
}

void ReferenceModel::pushValue(std::uint32_t frameNumber, Samples& batch) {
  if (batch.empty()) return;
  std::stable_sort(batch.begin(), batch.end(), IsEarlier);
  if (!mFrameQueue.empty()) {
    Samples& last = mFrameQueue.back().second;
    std::int64_t const firstNs = batch.front().timestamp;
    std::int64_t const lastNs = last.back().timestamp;
    if (lastNs > firstNs) {
      if (last.front().timestamp >= firstNs) return;
      std::int64_t const splitNs = SplitTimeNs(firstNs, lastNs);
      Samples merged;
      merged.reserve(last.size() + batch.size());
      merged.insert(merged.end(), last.begin(), last.end());
      merged.insert(merged.end(), batch.begin(), batch.end());
      std::stable_sort(merged.begin(), merged.end(), IsEarlier);
      last.clear();
      batch.clear();
      for (Sample const& sample : merged) (sample.timestamp < splitNs ? last : batch).push_back(sample);
      if (logLevel != 0) {
        Info("[pushValue]  split data frameNumber: %d lastData:%zu data:%zu splitTime:%lu",
             static_cast<int>(frameNumber), last.size(), batch.size(), static_cast<std::uint64_t>(splitNs));
      }
    }
  }
  mFrameQueue.emplace_back(frameNumber, batch);
  if (mFrameQueue.size() > kMaxFrames) mFrameQueue.pop_front();
}

void ReferenceModel::StoreRollingShutter(std::uint32_t rollingShutterNs, std::uint32_t sensorMode) {
  mRollingShutterNs = rollingShutterNs;
  if (logLevel != 0) {
    Info("[StoreRollingShutter] rolling shutter:%u sensorMode:%u", rollingShutterNs, sensorMode);
  }
}

std::uint32_t ReferenceModel::QueryRollingShutter() {
  if (logLevel != 0) Info("[QueryRollingShutter] query rolling shutter:%u", mRollingShutterNs);
  return mRollingShutterNs;
}

bool ReferenceModel::IsEnabled() {
  if (logLevel >= 4) Info("[IsEnabled] sensor:%d enabled", mSensorId);
  return true;
}

void ReferenceModel::QuerySensorData(Samples& out, std::uint32_t frameNumber, std::uint64_t timestampNs) {
  getSensorData(out, frameNumber, timestampNs);
  if (logLevel != 0) Info("[QuerySensorData]  get sensor data size:%zu", out.size());
}

void ReferenceModel::getSensorData(Samples& out, std::uint32_t frameNumber, std::uint64_t timestampNs) {
  if (timestampNs != 0) {
    getDataByTimestamp(timestampNs, out);
  } else if (frameNumber != 0) {
    getDataByFrame(frameNumber, out);
  } else {
    Warning("[getSensorData] timestamp or frameNumber should not be zero");
  }
  if (logLevel != 0) {
    Info("[getSensorData]  get sensor data F:(%u) TS:(%lu) data size:%zu", frameNumber, timestampNs, out.size());
  }
}

void ReferenceModel::getDataByFrame(std::uint32_t frameNumber, Samples& out) {
  for (auto const& [number, samples] : mFrameQueue) {
    if (number == frameNumber) out = samples;
  }
}

void ReferenceModel::getDataByTimestamp(std::uint64_t timeNs, Samples& out) {
  Samples joined;
  for (auto const& [number, samples] : mFrameQueue) joined.insert(joined.end(), samples.begin(), samples.end());
  if (logLevel != 0) Info("[getDataByTimestamp]  total data size:%zu", joined.size());
  std::size_t match = 0;
  while (match < joined.size() && static_cast<std::uint64_t>(joined[match].timestamp) < timeNs) ++match;
  if (match == joined.size() || joined.size() < kWindow) {
    Warning("[getDataByTimestamp] no data matched");
    return;
  }
  if (logLevel != 0) {
    Info("[getDataByTimestamp] match data offset:%zu timestamp:%lu", match,
         static_cast<std::uint64_t>(joined[match].timestamp));
  }
  std::size_t const begin = std::min(match < kWindowBefore ? 0 : match - kWindowBefore, joined.size() - kWindow);
  auto const first = joined.begin() + static_cast<std::ptrdiff_t>(begin);
  out.assign(first, first + static_cast<std::ptrdiff_t>(kWindow));
}

}  // namespace model
