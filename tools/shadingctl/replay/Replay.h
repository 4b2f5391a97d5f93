// The host: plays a session to the library, frame by frame, in a host's calling order.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "hosting/Session.h"
#include "lsc/VeyraShadingUtil.h"
#include "platform/desktop/Device.h"
#include "tools/shadingctl/replay/FrameResult.h"
#include "tools/shadingctl/replay/LibraryMessages.h"
#include "tools/shadingctl/replay/Summary.h"

namespace shadingctl {

struct Camera {
  std::int32_t sensorId = 0;
  std::int32_t sensorType = 0;
};

// Where the library's messages go besides: the frame's number (empty outside of any) and the message.
using MessageSink = std::function<void(std::optional<std::uint32_t> frame, std::string_view message)>;

// One camera's life at the library: started at construction, stopped at destruction. The device's messages are listened
// to in between, so there is one of these at a time.
class Replay {
 public:
  struct Options {
    Camera camera;
    CustShadingType type = kShadingPreview;
    bool resetMatched = false;  // clear the flag before each frame
    int logLevel = 0;           // what the library was constructed with
  };

  // `library` must have been constructed with the settings that `device` has now. `sink` may be empty.
  Replay(VeyraShadingUtil& library, desktop::Device& device, Options const& options, MessageSink sink);
  ~Replay();
  Replay(Replay const&) = delete;
  Replay& operator=(Replay const&) = delete;

  // What the host should tell its user about the start; empty when it went well.
  std::string const& complaint() const { return mComplaint; }

  // One frame: its batch, its update, its position. Adds to `summary`.
  FrameResult Play(hosting::Delivery const& delivery, Summary& summary);

  BatchCounts const& batches() const { return mBatches; }

 private:
  void Listen(std::string_view message);
  void StoreRollingShutter(std::uint32_t rollingShutterNs);
  void JudgeBatch(FrameMessages const& messages);

  VeyraShadingUtil& mLibrary;
  desktop::Device& mDevice;
  Options const mOptions;
  MessageSink const mSink;
  bool const mSupported;
  std::string const mProviderName;
  std::string mComplaint;

  LibraryMessages mMessages;
  std::optional<std::uint32_t> mFrame;  // at work
  std::optional<std::uint32_t> mRollingShutterNs;
  std::vector<double> mHallX;  // the caller's vectors and flag, kept from frame to frame
  std::vector<double> mHallY;
  int mMatched = 0;
  std::optional<std::int64_t> mNewestStoredNs;
  BatchCounts mBatches;
};

}  // namespace shadingctl
