#include "tools/shadingctl/synthetic/SyntheticSession.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace shadingctl {

SyntheticSession::SyntheticSession(SyntheticOptions const& options) : Session("built-in session"), mOptions(options) {
  mOptions.lateFrames = std::min(options.lateFrames, options.MostLateFrames());
  mOptions.pauseNs = std::min(options.pauseNs, options.MostPauseNs());
  for (std::size_t i = 0; i < mOptions.cameras.size(); ++i) mCameras.emplace_back(mOptions, i);
  if (!mOptions.cameras.front().sensorId) return;
  mSettings.recordsCalls = true;
  mSettings.cameras.emplace();
  for (SyntheticCamera const& camera : mOptions.cameras) mSettings.cameras->push_back(camera.sensorId.value_or(0));
}

// The earliest call of all cameras.
bool SyntheticSession::Next(recording::Call& call) {
  SyntheticCalls* earliest = nullptr;
  for (SyntheticCalls& camera : mCameras) {
    if (camera.Next() == nullptr) continue;
    if (earliest == nullptr || camera.Next()->timeNs < earliest->Next()->timeNs) earliest = &camera;
  }
  if (earliest == nullptr) return false;
  call = std::move(*earliest->Next());
  earliest->Pop();
  if (auto const* const update = std::get_if<recording::UpdateSensorData>(&call.operation)) Note(call.camera, *update);
  return true;
}

std::optional<std::uint64_t> SyntheticSession::FrameCount() const {
  return std::uint64_t{mOptions.frames} * mOptions.cameras.size() * std::max<std::size_t>(mOptions.types.size(), 1);
}

void SyntheticSession::Note(std::optional<std::int32_t> camera, recording::UpdateSensorData const& update) {
  auto const count = [&](recording::Oddity& oddity) {
    if (oddity.count++ == 0) oddity.firstPlace = fmt::format("frame {}", update.frame);
  };
  if (update.batch.empty()) count(mOddities.emptyBatches);
  for (auto const& sample : update.batch) {
    auto const [last, isFirst] = mLastSampleNs.try_emplace(camera, sample.timestamp);
    if (!isFirst && sample.timestamp < last->second) count(mOddities.sampleTimesBackward);
    last->second = sample.timestamp;
  }
}

}  // namespace shadingctl
