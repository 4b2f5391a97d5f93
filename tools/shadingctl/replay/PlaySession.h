// The one loop over a session: every call is played, and its frames come out in order.
#pragma once

#include <cstdint>
#include <functional>
#include <set>
#include <string>

#include "recording/Session.h"
#include "tools/shadingctl/frame/Frame.h"
#include "tools/shadingctl/replay/Replay.h"

namespace shadingctl {

// Why there is no more to read.
struct ReadingEnd {
  std::string error;  // empty at the end of the source
  bool isInterrupted = false;
};

// Runs `read`, which reads a source to its end or throws Interrupted or UnusableInput.
ReadingEnd ReadToTheEnd(std::function<void()> const& read);

struct SessionListener {
  // After each call.
  std::function<void(recording::Call const& call, PlayedCall const& played)> onCall;
  // Each frame in its order, once all samples of its readout are there.
  std::function<void(Frame const& frame)> onFrame;
};

// Plays all calls of the session. Frames that were played come out even where the rest cannot be read. `camera` is that
// of calls that name none; adds those that calls belong to to `cameras`.
ReadingEnd PlaySession(recording::Session& session, Replay& replay, std::int32_t camera,
                       std::set<std::int32_t>& cameras, SessionListener const& listener);

}  // namespace shadingctl
