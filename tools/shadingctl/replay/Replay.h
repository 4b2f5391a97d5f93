// The host: makes the calls of a session, one after the other. Its frames come out in order.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "lsc/VeyraShadingUtil.h"
#include "platform/desktop/Device.h"
#include "recording/Session.h"
#include "tools/shadingctl/frame/Frame.h"
#include "tools/shadingctl/log/FrameMessages.h"
#include "tools/shadingctl/replay/PlayedDevice.h"

namespace shadingctl {

// Where the library's messages go besides: the frame's number (empty outside of any) and the message.
using MessageSink = std::function<void(std::optional<std::uint32_t> frame, std::string_view message)>;

// An update with what the library said of it.
struct PlayedUpdate {
  std::uint32_t frame = 0;
  std::vector<NSCam::Utils::SensorData> const& batch;  // the call's
  std::optional<BatchStored> stored;
  bool split = false;
  bool beginsHistory = false;           // the first one since the camera's monitor was started
  std::int64_t updateNs = 0;            // that the library took
  std::optional<std::uint64_t> callNs;  // when the host called, as in the next one
};

struct PlayedFrame {
  Frame frame;
  std::int64_t calculateNs = 0;          // that the library took
  std::optional<std::int64_t> silentNs;  // that it took at log level 0, where that was measured
  std::optional<bool> isAsRecorded;      // the answer, where the recording holds one and it is compared
  std::optional<std::uint64_t> callNs;
};

// One call and what came of it; both empty for calls that neither update nor compute, and for those left out.
struct PlayedCall {
  std::int32_t camera = 0;
  std::optional<PlayedUpdate> update;
  std::optional<PlayedFrame> frame;
};

// Monitors that the session leaves running are stopped at destruction. The device's messages are listened to in
// between, so there is one of these at a time.
class Replay {
 public:
  struct Options {
    std::int32_t camera = 0;           // of the calls that name none
    bool onlyCamera = false;           // leave out the calls that name another one
    std::optional<std::int32_t> type;  // of all frames; without it their own, or else a preview
    bool resetMatched = false;         // clear the flag before each frame
    bool checkAnswers = false;         // compare recorded answers with those of the library
    // The library's globals that a host may change between two calls: the log level, then the switches of the dumps.
    // Null where the library exports none; without a log level nothing is measured at level 0.
    std::array<int*, 3> switches = {};
  };

  // `library` must have been constructed with the settings that `device` has now. `sink` may be empty.
  Replay(VeyraShadingUtil& library, desktop::Device& device, Options const& options, MessageSink sink);
  ~Replay();
  Replay(Replay const&) = delete;
  Replay& operator=(Replay const&) = delete;

  // The first thing that the host should tell its user about the calls so far; empty when they went well.
  std::string const& Complaint() const { return mComplaint; }

  // Makes one call, which must outlive the answer.
  PlayedCall Play(recording::Call const& call);

 private:
  // What a host keeps of a camera.
  struct CameraState {
    std::vector<double> hallX;  // the caller's vectors and flag, kept from frame to frame
    std::vector<double> hallY;
    int matched = 0;
    std::uint64_t updates = 0;  // since the monitor was started, as are the next two
    std::uint64_t delivered = 0;
    bool hasBeenWarm = false;
    bool startsAnew = false;  // no update came since then
  };

  void Play(std::int32_t sensorId, recording::StartMonitor const& start);
  void Play(std::int32_t sensorId, recording::StopMonitor const& stop);
  void Play(std::int32_t sensorId, recording::StoreRollingShutter const& store);
  PlayedUpdate Play(std::int32_t sensorId, recording::UpdateSensorData const& update);
  PlayedFrame Play(std::int32_t sensorId, recording::CalcOisValue const& calc);

  void BeginCall(std::optional<std::uint32_t> frame);
  void Complain(std::string const& complaint);
  Camera CameraOf(std::int32_t sensorId, std::optional<std::int32_t> sensorType) const;
  std::vector<Camera>::iterator FindMonitor(Camera const& camera);
  bool IsAsRecorded(recording::CalcOisValue::Answer const& recorded, CameraState const& state, FrameResult const& row);
  std::int64_t Calculate(CameraState& state, std::int32_t type, recording::CalcOisValue const& calc,
                         std::int32_t sensorId);
  std::int64_t AskSilently(CameraState state, std::int32_t type, recording::CalcOisValue const& calc,
                           std::int32_t sensorId);

  VeyraShadingUtil& mLibrary;
  desktop::Device& mDevice;
  Options const mOptions;
  MessageSink const mSink;
  std::string mComplaint;

  FrameMessages mMessages;
  std::optional<std::uint32_t> mFrame;  // of the call at hand
  bool mIsListening = true;
  std::uint64_t mCalculations = 0;
  std::optional<std::uint64_t> mFirstNs;  // timestamp of the first frame
  std::vector<Camera> mMonitors;          // the library's, in its order
  std::map<std::int32_t, CameraState> mCameras;
};

// Why there is no more to read.
struct ReadingEnd {
  std::string error;  // empty at the end of the source
  bool isInterrupted = false;
};

// Runs `read`, which reads a source to its end or throws Interrupted or UnusableInput.
ReadingEnd ReadToTheEnd(std::function<void()> const& read);

// Plays all calls of the session. `onCall` gets each call after it was made, `onFrame` each frame in its order, once
// all samples of its readout are there. Frames that were played come out even where the rest cannot be read.
ReadingEnd PlaySession(recording::Session& session, Replay& replay,
                       std::function<void(PlayedCall const& played)> const& onCall,
                       std::function<void(Frame const& frame)> const& onFrame);

}  // namespace shadingctl
