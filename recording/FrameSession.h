// The session of a host with one camera, made from its frames alone.
#pragma once

#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "recording/Session.h"

namespace recording {

// A frame with what the platform delivers in its update.
struct SessionFrame {
  std::uint32_t number = 0;
  ExposurePair exposure;
  std::uint32_t rollingShutterNs = 0;
  std::vector<NSCam::Utils::SensorData> batch;  // in the order of delivery
};

// Answers the calls of a host: its monitor is started, every frame is updated and then computed, the readout time is
// stored whenever it changes, and in the end the monitor is stopped. Holds one frame's samples at a time.
class FrameSession : public Session {
 public:
  bool Next(Call& call) override;

 protected:
  explicit FrameSession(std::string name);

  // nullopt at the end, after which it is not asked again.
  virtual std::optional<SessionFrame> ReadFrame() = 0;

 private:
  void QueueCalls();  // of the next frame, or those at the end

  std::deque<Call> mCalls;  // read and not handed out yet
  std::optional<std::uint32_t> mRollingShutterNs;
  bool mStopped = false;
};

}  // namespace recording
