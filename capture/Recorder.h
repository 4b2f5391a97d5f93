// Records the calls of a host while they are made.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "capture/RecordingFiles.h"
#include "capture/Ring.h"
#include "recording/Session.h"

namespace capture {

// Calls are put into a bounded queue; a thread of the recorder writes them to the files. What finds no room in the
// queue is lost and counted: a host never waits for the disk, and no memory is taken in its calls.
//
// Thread safety: every operation may be called from any thread. Host threads wait for one another as long as it takes
// to copy a batch.
class Recorder {
 public:
  Recorder();
  Recorder(Recorder const&) = delete;
  Recorder& operator=(Recorder const&) = delete;

  // Creates the recording in a new directory and starts the thread. Empty on success, else why nothing will be
  // recorded.
  std::string Start(std::string const& directory, recording::SessionSettings const& settings);

  // Adds a call; an update comes with its batch. Calls are numbered in this order.
  void Add(recording::Call const& call, NSCam::Utils::SensorData const* samples = nullptr,
           std::size_t count = 0) noexcept;

  // Writes what was added, marks the recording complete and ends the thread. What is added later is not recorded.
  void Finish() noexcept;

 private:
  struct Numbered {
    std::uint64_t number = 0;
    recording::Call call;           // an update's batch is in mSamples
    std::size_t samples = 0;        // of the batch
    std::size_t queuedSamples = 0;  // of these, the ones in mSamples
  };

  // The thread's.
  void WriteUntilFinished() noexcept;
  void WriteQueued() noexcept;  // at most kCallsAtOnce calls

  static constexpr std::size_t kQueuedCalls = 4096;      // 6 s of two cameras at 60 frames a second, 6 calls a frame
  static constexpr std::size_t kQueuedSamples = 131072;  // 8 s of two cameras at 8 kHz
  static constexpr std::size_t kCallsAtOnce = 256;       // written with one call of the system

  std::mutex mAddMutex;  // makes the host's threads one pushing thread
  std::uint64_t mLastNumber = 0;
  Ring<Numbered> mCalls{kQueuedCalls};
  Ring<NSCam::Utils::SensorData> mSamples{kQueuedSamples};

  std::atomic<bool> mRecording{false};
  std::atomic<bool> mFinished{false};
  std::atomic<std::uint64_t> mLostCalls{0};
  std::atomic<std::uint64_t> mLostSamples{0};
  std::thread mThread;

  // The thread's.
  std::unique_ptr<RecordingFiles> mFiles;
  bool mBroken = false;  // a file could not be written; the rest is lost
};

}  // namespace capture
