// Frames and samples from a log of the library at level 4.
#include <fmt/format.h>

#include <algorithm>
#include <deque>
#include <map>
#include <utility>

#include "hosting/UnusableInput.h"
#include "recording/InputFile.h"
#include "tools/import/Imports.h"
#include "tools/shadingctl/log/LoggedCalls.h"

namespace shadingctl {
namespace {

constexpr std::uint64_t kNsPerUs = 1000;

// The window of a frame overlaps with those of the frames after it. Reading so many calls ahead finds there what has
// lost its line in the frame's own window.
constexpr std::size_t kCallsAhead = 16;

class LogImport : public recording::Session {
 public:
  explicit LogImport(ImportArguments const& arguments)
      : Session(arguments.file),
        mLog(arguments.file),
        mAssembler(mLog.Name(), [this](LoggedCall&& call) { Take(std::move(call)); }) {
    mName = mLog.Name();
    mSettings.batches = recording::Batches::kRebuilt;
    mSettings.cameras.emplace();
  }

  std::vector<std::string> Remarks() const override {
    std::vector<std::string> remarks = {fmt::format(
        "{}: a log holds the samples around each frame, in whole us, and not the batches: results can differ from the "
        "phone's; `shadingctl explain` tells the phone's own",
        mName)};
    if (mLeftOut > 0) {
      remarks.push_back(fmt::format("{}: {} computations have lost their frame's number or times, and are left out",
                                    mName, mLeftOut));
    }
    if (mWithLoss > 0) {
      remarks.push_back(fmt::format("{}: {} computations that are taken have lost lines", mName, mWithLoss));
    }
    return remarks;
  }

  bool Next(recording::Call& call) override {
    while (mReady.empty()) {
      bool const isDue = mPending.size() > kCallsAhead || (mAtEnd && !mPending.empty());
      if (isDue) {
        Rebuild(mPending.front());
        mPending.pop_front();
      } else if (!mAtEnd) {
        ReadLine();
      } else if (!mStopped) {
        Stop();
      } else {
        return false;
      }
    }
    call = std::move(mReady.front());
    mReady.pop_front();
    return true;
  }

 private:
  struct Camera {
    std::map<std::int64_t, NSCam::Utils::SensorData> samples;  // by time in us; of windows, not delivered yet
    std::optional<std::int64_t> deliveredUs;                   // up to this time
    std::optional<std::uint32_t> readoutNs;
    std::optional<std::uint32_t> updatedFrame;
  };

  void ReadLine() {
    std::string_view line;
    if (!mLog.Next(line)) {
      mAtEnd = true;
      mAssembler.Finish();
      return;
    }
    mAssembler.Add(line);
  }

  // A call that the log has told to its end.
  void Take(LoggedCall&& call) {
    if (!call.camera || !call.frame || !call.timestampNs || !call.messages.times) {
      ++mLeftOut;
      return;
    }
    if (call.lost > 0) ++mWithLoss;
    Camera& camera = mCameras[*call.camera];
    for (SourceSample const& told : call.messages.source) {
      if (camera.deliveredUs && told.timeUs <= *camera.deliveredUs) continue;
      camera.samples.emplace(told.timeUs, SampleTold(told));
    }
    mPending.push_back(std::move(call));
  }

  template <class Operation>
  void Queue(std::int32_t camera, Operation operation) {
    recording::Call call;
    call.camera = camera;
    call.operation = std::move(operation);
    mReady.push_back(std::move(call));
  }

  // The calls of the host that have led to this one.
  void Rebuild(LoggedCall const& call) {
    std::int32_t const id = *call.camera;
    Camera& camera = mCameras[id];
    FrameTimesTold const& times = *call.messages.times;
    std::vector<std::int32_t>& known = *mSettings.cameras;
    if (std::find(known.begin(), known.end(), id) == known.end()) {
      known.push_back(id);
      Queue(id, recording::StartMonitor{});
    }
    if (call.messages.position && !mSettings.calculationMode) mSettings.calculationMode = call.messages.position->mode;
    std::uint32_t const readoutNs = static_cast<std::uint32_t>(times.readoutUs * kNsPerUs);
    if (camera.readoutNs != readoutNs) {
      camera.readoutNs = readoutNs;
      Queue(id, recording::StoreRollingShutter{0, readoutNs});
    }

    std::vector<NSCam::Utils::SensorData> batch = TakeBatch(camera, call.messages.source);
    if (camera.updatedFrame != call.frame || !batch.empty()) {
      camera.updatedFrame = call.frame;
      mDelivered += batch.size();
      Queue(id, recording::UpdateSensorData{*call.frame, *call.timestampNs, std::move(batch)});
    }
    recording::CalcOisValue calc;
    calc.frame = *call.frame;
    calc.type = times.type;
    calc.pairs.fill({*call.timestampNs, times.exposureUs * kNsPerUs});
    Queue(id, std::move(calc));
  }

  // Every sample up to the end of the window that was not delivered before.
  static std::vector<NSCam::Utils::SensorData> TakeBatch(Camera& camera, std::vector<SourceSample> const& window) {
    std::vector<NSCam::Utils::SensorData> batch;
    if (window.empty()) return batch;
    auto const end = camera.samples.upper_bound(window.back().timeUs);
    for (auto sample = camera.samples.begin(); sample != end; ++sample) batch.push_back(sample->second);
    camera.samples.erase(camera.samples.begin(), end);
    camera.deliveredUs = std::max(camera.deliveredUs.value_or(window.back().timeUs), window.back().timeUs);
    return batch;
  }

  void Stop() {
    mStopped = true;
    if (mDelivered == 0) {
      throw hosting::UnusableInput(
          fmt::format("{}: expected the samples that the library tells at log level 4, found none in {} lines", mName,
                      mAssembler.Counts().lines));
    }
    for (std::int32_t const camera : *mSettings.cameras) Queue(camera, recording::StopMonitor{});
  }

  recording::LineReader mLog;
  CallAssembler mAssembler;
  std::map<std::int32_t, Camera> mCameras;
  std::deque<LoggedCall> mPending;
  std::deque<recording::Call> mReady;
  bool mAtEnd = false;
  bool mStopped = false;
  std::uint64_t mDelivered = 0;  // samples
  std::uint64_t mLeftOut = 0;    // computations
  std::uint64_t mWithLoss = 0;
};

}  // namespace

std::unique_ptr<recording::Session> OpenLog(ImportArguments const& arguments) {
  return std::make_unique<LogImport>(arguments);
}

}  // namespace shadingctl
