#include "tools/shadingctl/replay/PendingFrames.h"

#include <cmath>
#include <limits>
#include <utility>

namespace shadingctl {
namespace {

// In the samples' own time.
struct Interval {
  std::int64_t firstUs = 0;
  std::int64_t lastUs = 0;
};

Interval SampleTimes(FrameTimesTold const& times) {
  std::uint64_t const startUs = times.startOfFrameUs + static_cast<std::uint64_t>(times.offsetUs);
  return {static_cast<std::int64_t>(startUs - kToleranceUs),
          static_cast<std::int64_t>(startUs + times.readoutUs + kToleranceUs)};
}

bool HasPosition(FrameResult const& row) { return row.HasNewPosition() && row.hallX && row.hallY; }

}  // namespace

void PendingFrames::AddSample(std::int32_t camera, std::int64_t timeUs, float hallX, float hallY) {
  if (!std::isfinite(hallX) || !std::isfinite(hallY)) return;
  auto& samples = mSamples[camera];
  samples.emplace(timeUs, hallX, hallY);
  if (samples.size() > kRemembered) samples.erase(samples.begin());
}

void PendingFrames::AddSample(std::int32_t camera, NSCam::Utils::SensorData const& sample) {
  AddSample(camera, sample.timestamp / 1000, sample.oisHallX, sample.oisHallY);
}

bool PendingFrames::IsComplete(FrameResult const& row) const {
  if (!row.times || !HasPosition(row) || mFrames.size() > kLongestWait) return true;
  auto const samples = mSamples.find(row.camera);
  return samples != mSamples.end() && !samples->second.empty() &&
         std::get<0>(*samples->second.rbegin()) > SampleTimes(*row.times).lastUs + kRepeatedUs;
}

std::optional<double> PendingFrames::DistanceOf(FrameResult const& row) const {
  auto const samples = mSamples.find(row.camera);
  if (!row.times || !HasPosition(row) || samples == mSamples.end()) return std::nullopt;
  Interval const own = SampleTimes(*row.times);
  constexpr float kLowest = std::numeric_limits<float>::lowest();
  double sumX = 0;
  double sumY = 0;
  std::uint64_t count = 0;
  for (auto sample = samples->second.lower_bound({own.firstUs, kLowest, kLowest});
       sample != samples->second.end() && std::get<0>(*sample) <= own.lastUs; ++sample) {
    sumX += static_cast<double>(std::get<1>(*sample));
    sumY += static_cast<double>(std::get<2>(*sample));
    ++count;
  }
  if (count == 0) return std::nullopt;
  auto const divisor = static_cast<double>(count);
  return std::hypot(*row.hallX - sumX / divisor, *row.hallY - sumY / divisor);
}

std::optional<Frame> PendingFrames::Take() {
  if (mFrames.empty() || !IsComplete(mFrames.front().row)) return std::nullopt;
  return TakeAnyway();
}

std::optional<Frame> PendingFrames::TakeAnyway() {
  if (mFrames.empty()) return std::nullopt;
  Frame frame = std::move(mFrames.front());
  mFrames.pop_front();
  frame.row.readoutDistance = DistanceOf(frame.row);
  return frame;
}

}  // namespace shadingctl
