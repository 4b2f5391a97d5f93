// The host: makes the calls of a session, one after the other.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "hosting/Session.h"
#include "lsc/VeyraShadingUtil.h"
#include "platform/desktop/Device.h"
#include "tools/shadingctl/findings/FrameFacts.h"
#include "tools/shadingctl/frames/FrameResult.h"
#include "tools/shadingctl/messages/FrameMessages.h"
#include "tools/shadingctl/replay/DeviceCameras.h"
#include "tools/shadingctl/replay/Summaries.h"

namespace shadingctl {

// Where the library's messages go besides: the frame's number (empty outside of any) and the message.
using MessageSink = std::function<void(std::optional<std::uint32_t> frame, std::string_view message)>;

// The library's globals that a host may change between two calls; null where the library exports none.
struct LibrarySwitches {
  int* logLevel = nullptr;
  int* previewDump = nullptr;
  int* captureDump = nullptr;
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
    LibrarySwitches switches;          // without them nothing is measured at log level 0
  };

  // `library` must have been constructed with the settings that `device` has now. `sink` may be empty.
  Replay(VeyraShadingUtil& library, desktop::Device& device, Options const& options, MessageSink sink);
  ~Replay();
  Replay(Replay const&) = delete;
  Replay& operator=(Replay const&) = delete;

  // What the host should tell its user about the calls so far, the first of it; empty when they went well.
  std::string const& complaint() const { return mComplaint; }

  // What decided the latest computation.
  FrameFacts const& latestFacts() const { return mLatestFacts; }

  // Makes one call and adds to the summary of its camera. A call that computes a position has a result.
  std::optional<FrameResult> Play(hosting::Call const& call, Summaries& summaries);

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

  void Play(std::int32_t sensorId, hosting::StartMonitor const& start);
  void Play(std::int32_t sensorId, hosting::StopMonitor const& stop);
  void Play(std::int32_t sensorId, hosting::StoreRollingShutter const& store);
  void Play(std::int32_t sensorId, hosting::UpdateSensorData const& update, Summary& summary);
  FrameResult Play(std::int32_t sensorId, hosting::CalcOisValue const& calc, Summary& summary);

  bool Start(hosting::StartMonitor::Operation operation, Camera const& camera);
  void Listen(std::string_view message);
  void BeginCall(std::optional<std::uint32_t> frame);
  void Complain(std::string const& complaint);
  Camera CameraOf(std::int32_t sensorId, std::optional<std::int32_t> sensorType) const;
  std::vector<Camera>::iterator FindMonitor(Camera const& camera);
  void CheckAnswer(hosting::CalcOisValue::Answer const& recorded, CameraState const& state, FrameResult const& result,
                   Summary& summary);
  std::int64_t AskSilently(CameraState state, std::int32_t type, hosting::CalcOisValue const& calc,
                           std::int32_t sensorId);

  VeyraShadingUtil& mLibrary;
  desktop::Device& mDevice;
  Options const mOptions;
  MessageSink const mSink;
  std::string mComplaint;

  FrameMessages mMessages;
  FrameFacts mLatestFacts;
  std::optional<std::uint32_t> mFrame;  // at work
  bool mIsListening = true;
  std::uint64_t mCalculations = 0;
  std::optional<std::uint64_t> mFirstNs;  // timestamp of the first frame
  std::vector<Camera> mMonitors;          // the library's, in its order
  std::map<std::int32_t, CameraState> mCameras;
};

}  // namespace shadingctl
