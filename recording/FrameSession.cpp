#include "recording/FrameSession.h"

#include <utility>

namespace recording {

bool FrameSession::Next(Call& call) {
  if (mCalls.empty() && !mStopped) QueueCalls();
  if (mCalls.empty()) return false;
  call = std::move(mCalls.front());
  mCalls.pop_front();
  return true;
}

void FrameSession::QueueCalls() {
  constexpr std::uint32_t kSensorMode = 0;  // of every frame: such a session has no modes
  auto const queue = [this](std::optional<std::int32_t> camera, auto&& operation) {
    mCalls.push_back({std::nullopt, camera, std::forward<decltype(operation)>(operation)});
  };
  std::optional<SessionFrame> frame = ReadFrame();
  if (!frame) {
    for (auto const& [camera, readoutNs] : mReadoutNs) queue(camera, StopMonitor{});
    mStopped = true;
    return;
  }
  auto const [known, isFirst] = mReadoutNs.try_emplace(frame->camera);
  if (isFirst) queue(frame->camera, StartMonitor{});
  if (known->second != frame->rollingShutterNs) {
    known->second = frame->rollingShutterNs;
    queue(frame->camera, StoreRollingShutter{kSensorMode, frame->rollingShutterNs});
  }
  if (frame->isUpdated) {
    queue(frame->camera, UpdateSensorData{frame->number, frame->exposure.timestampNs, std::move(frame->batch)});
  }
  CalcOisValue calc;
  calc.frame = frame->number;
  calc.type = frame->type;
  calc.pairs.fill(frame->exposure);
  queue(frame->camera, std::move(calc));
}

}  // namespace recording
