#include "capture/Recorder.h"

#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstring>
#include <exception>
#include <memory>
#include <system_error>
#include <vector>

#include "capture/SystemLog.h"
#include "recording/Recording.h"

namespace capture {
namespace {

constexpr std::chrono::milliseconds kPoll{20};  // the host's calls do not wake the thread, which would cost them time

bool IsFinite(NSCam::Utils::SensorData const& sample) {
  return std::isfinite(sample.oisHallX) && std::isfinite(sample.oisHallY);
}

}  // namespace

Recorder::Recorder() = default;

std::string Recorder::Start(std::string const& directory, recording::SessionSettings const& settings) {
  try {
    mFiles = std::make_unique<RecordingFiles>(directory, settings);
    mRecording = true;
    mThread = std::thread([this] { WriteUntilFinished(); });
    return {};
  } catch (std::exception const& error) {
    mRecording = false;
    return error.what();
  }
}

void Recorder::Add(recording::Call const& call, NSCam::Utils::SensorData const* samples, std::size_t count) noexcept {
  std::lock_guard const lock(mAddMutex);
  Numbered added;
  added.number = ++mLastNumber;
  if (!mRecording || mCalls.Room() == 0) {
    ++mLostCalls;
    mLostSamples += count;
    return;
  }
  added.call = call;
  added.samples = count;
  for (; count > 0 && mSamples.Room() > 0; ++samples, --count) {
    if (!IsFinite(*samples)) continue;  // a recording holds numbers only
    mSamples.Push(*samples);
    ++added.queuedSamples;
  }
  mLostSamples += added.samples - added.queuedSamples;
  mCalls.Push(added);
}

void Recorder::Finish() noexcept {
  mRecording = false;
  mFinished = true;
  if (mThread.joinable()) mThread.join();
}

void Recorder::WriteUntilFinished() noexcept {
  using recording::CaptureState;
  recording::Capture written = {CaptureState::kRunning};
  for (bool finished = false; !finished;) {
    finished = mFinished;  // asked first: whatever was added before is in the queue now
    while (!mCalls.IsEmpty()) WriteQueued();
    CaptureState const state = mBroken    ? CaptureState::kBroken
                               : finished ? CaptureState::kComplete
                                          : CaptureState::kRunning;
    recording::Capture const capture = {state, mLostCalls, mLostSamples};
    if (!(capture == written)) mFiles->Write(capture);
    written = capture;
    if (!finished) std::this_thread::sleep_for(kPoll);
  }
}

void Recorder::WriteQueued() noexcept {
  std::uint64_t callCount = 0;
  std::uint64_t sampleCount = 0;
  try {
    std::string calls, samples;
    std::vector<NSCam::Utils::SensorData> batch;
    for (; callCount < kCallsAtOnce && !mCalls.IsEmpty(); ++callCount) {
      Numbered const next = mCalls.Pop();
      batch.clear();
      for (std::size_t i = 0; i < next.queuedSamples; ++i) batch.push_back(mSamples.Pop());
      sampleCount += next.queuedSamples;
      bool const isUpdate = std::holds_alternative<recording::UpdateSensorData>(next.call.operation);
      recording::AppendCall(calls, next.number, next.call,
                            isUpdate ? std::optional<std::uint64_t>(next.samples) : std::nullopt);
      recording::AppendSamples(samples, next.number, batch);
    }
    if (!mBroken && !mFiles->Append(samples, calls)) {
      mBroken = true;
      TellError(std::string("the recording ends here, as it cannot be written: ") + std::strerror(errno));
    }
  } catch (std::exception const&) {  // no memory for the text
    mBroken = true;
  }
  if (!mBroken) return;
  mLostCalls += callCount;
  mLostSamples += sampleCount;
}

}  // namespace capture
