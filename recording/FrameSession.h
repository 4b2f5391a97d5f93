// The session of a host, made from its frames alone.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <vector>

#include "recording/Session.h"

namespace recording {

// A frame with what the platform delivers in its update.
struct SessionFrame {
  std::optional<std::int32_t> camera;  // as in Call
  std::uint32_t number = 0;
  std::optional<std::int32_t> type;  // as in CalcOisValue
  ExposurePair exposure;
  std::uint32_t rollingShutterNs = 0;
  bool isUpdated = true;                        // false: computed again, without a batch of its own
  std::vector<NSCam::Utils::SensorData> batch;  // in the order of delivery
};

// Makes the calls of a host: a camera's monitor is started before its first frame, every frame is updated and then
// computed, the readout time is stored whenever it changes, and in the end the monitors are stopped. Holds one frame's
// samples at a time.
class FrameSession : public Session {
 public:
  using Session::Session;
  bool Next(Call& call) override;

 protected:
  // nullopt at the end, after which it is not asked again.
  virtual std::optional<SessionFrame> ReadFrame() = 0;

 private:
  void QueueCalls();  // of the next frame, or those at the end

  std::deque<Call> mCalls;                                                         // read and not handed out yet
  std::map<std::optional<std::int32_t>, std::optional<std::uint32_t>> mReadoutNs;  // by camera, as stored last
  bool mStopped = false;
};

}  // namespace recording
