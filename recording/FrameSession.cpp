#include "recording/FrameSession.h"

#include <utility>

namespace recording {
namespace {

constexpr std::uint32_t kSensorMode = 0;  // of every frame: such a session has no modes

template <class Operation>
Call CallOf(Operation operation) {
  Call call;
  call.operation = std::move(operation);
  return call;
}

}  // namespace

FrameSession::FrameSession(std::string name) : Session(std::move(name)) { mCalls.push_back(CallOf(StartMonitor{})); }

bool FrameSession::Next(Call& call) {
  if (mCalls.empty() && !mStopped) QueueCalls();
  if (mCalls.empty()) return false;
  call = std::move(mCalls.front());
  mCalls.pop_front();
  return true;
}

void FrameSession::QueueCalls() {
  std::optional<SessionFrame> frame = ReadFrame();
  if (!frame) {
    mCalls.push_back(CallOf(StopMonitor{}));
    mStopped = true;
    return;
  }
  if (mRollingShutterNs != frame->rollingShutterNs) {
    mRollingShutterNs = frame->rollingShutterNs;
    mCalls.push_back(CallOf(StoreRollingShutter{kSensorMode, frame->rollingShutterNs}));
  }
  UpdateSensorData update;
  update.frame = frame->number;
  update.timestampNs = frame->exposure.timestampNs;
  update.batch = std::move(frame->batch);
  mCalls.push_back(CallOf(std::move(update)));
  CalcOisValue calc;
  calc.frame = frame->number;
  calc.pairs.fill(frame->exposure);
  mCalls.push_back(CallOf(std::move(calc)));
}

}  // namespace recording
