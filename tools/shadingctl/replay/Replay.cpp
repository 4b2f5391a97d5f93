#include "tools/shadingctl/replay/Replay.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <type_traits>
#include <utility>

#include "hosting/Interruption.h"
#include "hosting/UnusableInput.h"
#include "tools/shadingctl/replay/PendingFrames.h"

namespace shadingctl {
namespace {

// Handed in where the flag is set: the library sets the flag to 1 when it finds a start and otherwise leaves it, so
// this value still stands after a call that found none.
constexpr int kCarriedFlag = 2;

// One computation in so many is made at log level 0 as well, to measure it: enough for a median, and no burden.
constexpr std::uint64_t kSilentInterval = 10;

using Clock = std::chrono::steady_clock;

std::int64_t NsSince(Clock::time_point start) { return std::chrono::nanoseconds(Clock::now() - start).count(); }

// Every position is a single-precision number, however it is kept.
bool IsSame(std::optional<float> recorded, std::optional<double> answered) {
  return recorded.has_value() == answered.has_value() && (!recorded || double{*recorded} == *answered);
}

template <class Number>
std::string TextOf(std::optional<Number> position) {
  return position ? PositionText(*position) : "none";
}

}  // namespace

Replay::Replay(VeyraShadingUtil& library, desktop::Device& device, Options const& options, MessageSink sink)
    : mLibrary(library), mDevice(device), mOptions(options), mSink(std::move(sink)) {
  mDevice.ListenToLog([this](desktop::LogMessage const& message) {
    if (!mIsListening || message.sink != desktop::Sink::kSystemLog) return;
    mMessages.Add(message.text);
    if (mSink) mSink(mFrame, message.text);
  });
}

Replay::~Replay() {
  BeginCall(std::nullopt);
  for (Camera const& monitor : mMonitors) mLibrary.StopSensorMonitor(monitor.sensorId, monitor.sensorType);
  mDevice.ListenToLog({});
}

void Replay::BeginCall(std::optional<std::uint32_t> frame) {
  mFrame = frame;
  mMessages.Clear();
}

void Replay::Complain(std::string const& complaint) {
  if (mComplaint.empty()) mComplaint = complaint;
}

Camera Replay::CameraOf(std::int32_t sensorId, std::optional<std::int32_t> sensorType) const {
  if (sensorType) return {sensorId, *sensorType};
  return shadingctl::CameraOf(mDevice.Settings(), sensorId);
}

// As the library finds the monitor of a pair: either half of it suffices.
std::vector<Camera>::iterator Replay::FindMonitor(Camera const& camera) {
  return std::find_if(mMonitors.begin(), mMonitors.end(), [&](Camera const& monitor) {
    return monitor.sensorId == camera.sensorId || monitor.sensorType == camera.sensorType;
  });
}

PlayedCall Replay::Play(recording::Call const& call) {
  PlayedCall played;
  played.camera = call.camera.value_or(mOptions.camera);
  if (mOptions.onlyCamera && played.camera != mOptions.camera) return played;
  std::visit(
      [&](auto const& operation) {
        using Operation = std::decay_t<decltype(operation)>;
        if constexpr (std::is_same_v<Operation, recording::CalcOisValue>) {
          played.frame.emplace(Play(played.camera, operation));
          played.frame->callNs = call.timeNs;
        } else if constexpr (std::is_same_v<Operation, recording::UpdateSensorData>) {
          played.update.emplace(Play(played.camera, operation));
          played.update->callNs = call.timeNs;
        } else {
          BeginCall(std::nullopt);
          Play(played.camera, operation);
        }
      },
      call.operation);
  return played;
}

void Replay::Play(std::int32_t sensorId, recording::StartMonitor const& start) {
  using Operation = recording::StartMonitor::Operation;
  Camera const camera = CameraOf(sensorId, start.sensorType);
  bool const supported = mLibrary.IsSupportSensor(sensorId);
  bool const registers = start.operation != Operation::kStart && supported && camera.sensorType != -1;
  if (registers && FindMonitor(camera) == mMonitors.end()) {
    mMonitors.push_back(camera);
    CameraState& state = mCameras[sensorId];
    state.startsAnew = true;
    state.updates = state.delivered = 0;
    state.hasBeenWarm = false;
  }
  bool const isDone =
      start.operation == Operation::kRegister ? mLibrary.RegisterSensorMonitor(sensorId, camera.sensorType)
      : start.operation == Operation::kStart  ? mLibrary.StartSensorMonitor(sensorId, camera.sensorType)
                                              : mLibrary.RegisterAndStartSensorMonitor(sensorId, camera.sensorType);
  if (isDone) return;
  if (!supported) {
    Complain(fmt::format("camera {} is not in the device's sensor map: every frame is off", sensorId));
  } else if (FindMonitor(camera) == mMonitors.end()) {
    Complain(fmt::format("camera {} is started without a monitor: expected it to be registered before", sensorId));
  } else {
    Complain(fmt::format("camera {}: the platform refused its samples", sensorId));
  }
}

void Replay::Play(std::int32_t sensorId, recording::StopMonitor const& stop) {
  Camera const camera = CameraOf(sensorId, stop.sensorType);
  mLibrary.StopSensorMonitor(camera.sensorId, camera.sensorType);
  auto const monitor = FindMonitor(camera);
  if (monitor != mMonitors.end()) mMonitors.erase(monitor);
}

void Replay::Play(std::int32_t sensorId, recording::StoreRollingShutter const& store) {
  mDevice.SetRollingShutter(sensorId, store.sensorMode, store.rollingShutterNs);
  unsigned int const answeredNs = mLibrary.StoreRollingShutter(sensorId, store.sensorMode);
  if (answeredNs == store.rollingShutterNs) return;
  Complain(fmt::format("camera {}: the device's driver reports a readout of {} ns, not the recorded {} ns", sensorId,
                       answeredNs, store.rollingShutterNs));
}

PlayedUpdate Replay::Play(std::int32_t sensorId, recording::UpdateSensorData const& update) {
  BeginCall(update.frame);
  auto const monitor = std::find_if(mMonitors.begin(), mMonitors.end(),
                                    [&](Camera const& camera) { return camera.sensorId == sensorId; });
  if (monitor != mMonitors.end()) {
    mDevice.QueueSamples(fmt::format("OIS_MONITOR-{}-{}", monitor->sensorId, monitor->sensorType), update.batch);
  }
  auto const start = Clock::now();
  mLibrary.UpdateSensorData(sensorId, update.frame, update.timestampNs);
  std::int64_t const updateNs = NsSince(start);
  CameraState& state = mCameras[sensorId];
  ++state.updates;
  state.delivered += update.batch.size();
  return {update.frame, update.batch, mMessages.batch, mMessages.split, std::exchange(state.startsAnew, false),
          updateNs,     std::nullopt};
}

PlayedFrame Replay::Play(std::int32_t sensorId, recording::CalcOisValue const& calc) {
  BeginCall(calc.frame);
  CameraState& state = mCameras[sensorId];
  PlayedFrame played;
  std::int32_t const type = mOptions.type.value_or(calc.type.value_or(kShadingPreview));
  CallOutcome outcome;
  outcome.supported = mLibrary.IsSupportSensor(sensorId);
  outcome.flagHanded = calc.matched.value_or(state.matched != 0) && !mOptions.resetMatched;
  state.matched = outcome.flagHanded ? kCarriedFlag : 0;
  recording::ExposurePair const& pair = PairOf(calc, type);
  std::uint64_t const startOfFrameUs = pair.timestampNs / 1000 - pair.exposureNs / 1000;  // as the library reckons
  outcome.startsBeforeTime = pair.exposureNs / 1000 > pair.timestampNs / 1000;
  outcome.updates = state.updates;
  outcome.delivered = state.delivered;
  outcome.hasBeenWarm = state.hasBeenWarm;
  int const* const logLevel = mOptions.switches.front();
  if (logLevel != nullptr && *logLevel != 0 && mCalculations++ % kSilentInterval == 0) {
    played.silentNs = AskSilently(state, type, calc, sensorId);
  }
  played.calculateNs = Calculate(state, type, calc, sensorId);
  outcome.startFound = state.matched == 1;

  state.hasBeenWarm = state.hasBeenWarm || HistoryOf(outcome, mMessages) >= kWindowSize;
  played.frame = MakeFrame({sensorId, calc.frame, pair.timestampNs, type}, outcome, mMessages);
  FrameResult& row = played.frame.row;
  if (!mFirstNs) mFirstNs = pair.timestampNs;
  row.sinceFirstNs = static_cast<std::int64_t>(pair.timestampNs - *mFirstNs);
  row.startOfFrameUs = static_cast<std::int64_t>(startOfFrameUs);
  if (!state.hallX.empty()) row.hallX = state.hallX.front();
  if (!state.hallY.empty()) row.hallY = state.hallY.front();
  if (calc.answer && mOptions.checkAnswers) played.isAsRecorded = IsAsRecorded(*calc.answer, state, row);
  return played;
}

// Answers how long the library took.
std::int64_t Replay::Calculate(CameraState& state, std::int32_t type, recording::CalcOisValue const& calc,
                               std::int32_t sensorId) {
  auto const& pairs = calc.pairs;
  CalcOISValueInput input = {pairs[0].timestampNs, pairs[1].timestampNs, pairs[2].timestampNs,
                             pairs[0].exposureNs,  pairs[1].exposureNs,  pairs[2].exposureNs};
  auto const start = Clock::now();
  mLibrary.CalcOISValue(static_cast<CustShadingType>(type), input, &state.hallX, &state.hallY, calc.frame, sensorId,
                        state.matched);
  return NsSince(start);
}

// The computation as it is to come, on a copy of the caller's state, without messages and dumps. The library keeps
// nothing of a computation.
std::int64_t Replay::AskSilently(CameraState state, std::int32_t type, recording::CalcOisValue const& calc,
                                 std::int32_t sensorId) {
  std::array<int, 3> others = {};
  auto const exchange = [&] {
    for (std::size_t i = 0; i < others.size(); ++i) {
      if (mOptions.switches[i] != nullptr) std::swap(*mOptions.switches[i], others[i]);
    }
  };
  exchange();
  mIsListening = false;
  std::int64_t const calculateNs = Calculate(state, type, calc, sensorId);
  mIsListening = true;
  exchange();
  return calculateNs;
}

// The vectors of a frame without a position hold what the host left in them, which is its own affair.
bool Replay::IsAsRecorded(recording::CalcOisValue::Answer const& recorded, CameraState const& state,
                          FrameResult const& row) {
  bool const positionIsSame =
      !row.HasNewPosition() || (IsSame(recorded.hallX, row.hallX) && IsSame(recorded.hallY, row.hallY));
  bool const isAsRecorded = recorded.matched == (state.matched != 0) && positionIsSame;
  if (isAsRecorded) return true;
  Complain(
      fmt::format("camera {}, frame {}: the recording has the flag {} and the position ({}, {}), the library "
                  "answers {} and ({}, {})",
                  row.camera, row.frame, recorded.matched ? 1 : 0, TextOf(recorded.hallX), TextOf(recorded.hallY),
                  state.matched != 0 ? 1 : 0, TextOf(row.hallX), TextOf(row.hallY)));
  return false;
}

ReadingEnd ReadToTheEnd(std::function<void()> const& read) {
  try {
    read();
  } catch (hosting::Interrupted const& interrupted) {
    return {interrupted.what(), true};
  } catch (hosting::UnusableInput const& unusable) {
    return {unusable.what(), false};
  }
  return {};
}

ReadingEnd PlaySession(recording::Session& session, Replay& replay,
                       std::function<void(PlayedCall const& played)> const& onCall,
                       std::function<void(Frame const& frame)> const& onFrame) {
  PendingFrames pending;
  ReadingEnd const end = ReadToTheEnd([&] {
    for (recording::Call call;;) {
      hosting::EndIfInterrupted();
      if (!session.Next(call)) return;
      PlayedCall const played = replay.Play(call);
      if (auto const* update = std::get_if<recording::UpdateSensorData>(&call.operation)) {
        for (auto const& sample : update->batch) {
          pending.AddSample(played.camera, sample.timestamp / 1000, sample.oisHallX, sample.oisHallY);
        }
      }
      onCall(played);
      if (played.frame) pending.Add(played.frame->frame);
      while (auto const frame = pending.Take()) onFrame(*frame);
    }
  });
  while (auto const frame = pending.TakeAnyway()) onFrame(*frame);
  return end;
}

}  // namespace shadingctl
