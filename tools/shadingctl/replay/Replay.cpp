#include "tools/shadingctl/replay/Replay.h"

#include <fmt/format.h>

#include <chrono>
#include <utility>

namespace shadingctl {
namespace {

constexpr unsigned int kSensorMode = 0;  // a recording has one mode; its readout time may change all the same

// Handed in where the flag is set: the library sets the flag to 1 when it finds a start and otherwise leaves it, so
// this value still stands after a call that found none.
constexpr int kCarriedFlag = 2;

class Stopwatch {
 public:
  std::int64_t PassedNs() const {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now() - mStart).count();
  }

 private:
  std::chrono::steady_clock::time_point mStart = std::chrono::steady_clock::now();
};

}  // namespace

Replay::Replay(VeyraShadingUtil& library, desktop::Device& device, Options const& options, MessageSink sink)
    : mLibrary(library),
      mDevice(device),
      mOptions(options),
      mSink(std::move(sink)),
      mSupported(library.IsSupportSensor(options.camera.sensorId)),
      mProviderName(fmt::format("OIS_MONITOR-{}-{}", options.camera.sensorId, options.camera.sensorType)) {
  if (mOptions.logLevel != 0) mBatches.split = 0;
  if (mOptions.logLevel >= 4) mBatches.dropped = 0;
  mDevice.ListenToLog([this](desktop::LogMessage const& message) {
    if (message.sink == desktop::Sink::kSystemLog) Listen(message.text);
  });
  bool const started = mLibrary.RegisterAndStartSensorMonitor(mOptions.camera.sensorId, mOptions.camera.sensorType);
  if (!mSupported) {
    mComplaint =
        fmt::format("camera {} is not in the device's sensor map: every frame is off", mOptions.camera.sensorId);
  } else if (!started) {
    mComplaint = fmt::format("camera {}: the platform refused its samples", mOptions.camera.sensorId);
  }
}

Replay::~Replay() {
  mFrame.reset();
  mLibrary.StopSensorMonitor(mOptions.camera.sensorId, mOptions.camera.sensorType);
  mDevice.ListenToLog({});
}

void Replay::Listen(std::string_view message) {
  mMessages.Read(message);
  if (mSink) mSink(mFrame, message);
}

void Replay::StoreRollingShutter(std::uint32_t rollingShutterNs) {
  if (mRollingShutterNs == rollingShutterNs) return;
  mRollingShutterNs = rollingShutterNs;
  mDevice.SetRollingShutter(mOptions.camera.sensorId, kSensorMode, rollingShutterNs);
  unsigned int const answeredNs = mLibrary.StoreRollingShutter(mOptions.camera.sensorId, kSensorMode);
  if (answeredNs != rollingShutterNs && mComplaint.empty()) {
    mComplaint = fmt::format("camera {}: the device's driver reports a readout of {} ns, not the recorded {} ns",
                             mOptions.camera.sensorId, answeredNs, rollingShutterNs);
  }
}

FrameResult Replay::Play(hosting::Delivery const& delivery, Summary& summary) {
  hosting::Frame const& frame = delivery.frame;
  mFrame = frame.number;
  mMessages.BeginFrame();
  StoreRollingShutter(frame.rollingShutterNs);
  mDevice.QueueSamples(mProviderName, delivery.samples);

  Stopwatch const updateWatch;
  mLibrary.UpdateSensorData(mOptions.camera.sensorId, frame.number, frame.timestampNs);
  std::int64_t const updateNs = updateWatch.PassedNs();

  CallOutcome outcome;
  outcome.supported = mSupported;
  outcome.flagHanded = mMatched != 0 && !mOptions.resetMatched;
  mMatched = outcome.flagHanded ? kCarriedFlag : 0;
  CalcOISValueInput input{frame.timestampNs, frame.timestampNs, frame.timestampNs,
                          frame.exposureNs,  frame.exposureNs,  frame.exposureNs};
  Stopwatch const calculateWatch;
  mLibrary.CalcOISValue(mOptions.type, input, &mHallX, &mHallY, frame.number, mOptions.camera.sensorId, mMatched);
  std::int64_t const calculateNs = calculateWatch.PassedNs();
  outcome.startFound = mMatched == 1;

  FrameMessages const messages = mMessages.Frame();
  JudgeBatch(messages);
  FrameResult result = Judge(outcome, messages);
  result.frame = frame.number;
  result.timestampNs = frame.timestampNs;
  result.type = mOptions.type;
  if (!mHallX.empty()) result.hallX = mHallX.front();
  if (!mHallY.empty()) result.hallY = mHallY.front();
  summary.Add(result);
  summary.AddSamples(delivery.samples);
  summary.AddLibraryTime(updateNs, calculateNs);
  return result;
}

// A batch that begins before the newest stored sample is either split, which the library says, or dropped, which it
// does not.
void Replay::JudgeBatch(FrameMessages const& messages) {
  if (messages.split && mBatches.split) ++*mBatches.split;
  if (!messages.batch) return;
  if (!messages.split && mNewestStoredNs && messages.batch->firstNs < *mNewestStoredNs) {
    if (mBatches.dropped) ++*mBatches.dropped;
    return;
  }
  mNewestStoredNs = messages.batch->lastNs;
}

}  // namespace shadingctl
