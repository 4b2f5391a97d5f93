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

// The window of a frame overlaps with those of the frames after it. Reading so many calls ahead finds there what has
// lost its line in the frame's own window.
constexpr std::size_t kCallsAhead = 16;

class LogImport : public recording::FrameSession {
 public:
  explicit LogImport(ImportArguments const& arguments)
      : FrameSession(arguments.file),
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

 private:
  struct Camera {
    std::map<std::int64_t, NSCam::Utils::SensorData> samples;  // by time in us; of windows, not delivered yet
    std::optional<std::int64_t> deliveredUs;                   // up to this time
    std::optional<std::uint32_t> updatedFrame;
  };

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

  std::optional<recording::SessionFrame> ReadFrame() override {
    while (!mAtEnd && mPending.size() <= kCallsAhead) {
      std::string_view line;
      mAtEnd = !mLog.Next(line);
      mAtEnd ? mAssembler.Finish() : mAssembler.Add(line);
    }
    if (mPending.empty()) {
      if (mDelivered > 0) return std::nullopt;
      throw hosting::UnusableInput(
          fmt::format("{}: expected the samples that the library tells at log level 4, found none in {} lines", mName,
                      mAssembler.Counts().lines));
    }
    LoggedCall const call = std::move(mPending.front());
    mPending.pop_front();
    FrameTimesTold const& times = *call.messages.times;
    Camera& camera = mCameras[*call.camera];
    std::vector<std::int32_t>& known = *mSettings.cameras;
    if (std::find(known.begin(), known.end(), *call.camera) == known.end()) known.push_back(*call.camera);
    if (call.messages.position && !mSettings.calculationMode) mSettings.calculationMode = call.messages.position->mode;

    recording::SessionFrame frame;
    frame.camera = call.camera;
    frame.number = *call.frame;
    frame.type = times.type;
    frame.exposure = {*call.timestampNs, times.exposureUs * 1000};
    frame.rollingShutterNs = times.readoutUs * 1000;
    frame.batch = TakeBatch(camera, call.messages.source);
    frame.isUpdated = std::exchange(camera.updatedFrame, call.frame) != call.frame || !frame.batch.empty();
    mDelivered += frame.batch.size();
    return frame;
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

  recording::LineReader mLog;
  CallAssembler mAssembler;
  std::map<std::int32_t, Camera> mCameras;
  std::deque<LoggedCall> mPending;
  bool mAtEnd = false;
  std::uint64_t mDelivered = 0;  // samples
  std::uint64_t mLeftOut = 0;    // computations
  std::uint64_t mWithLoss = 0;
};

}  // namespace

std::unique_ptr<recording::Session> OpenLog(ImportArguments const& arguments) {
  return std::make_unique<LogImport>(arguments);
}

}  // namespace shadingctl
