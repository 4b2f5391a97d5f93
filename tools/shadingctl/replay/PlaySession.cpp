#include "tools/shadingctl/replay/PlaySession.h"

#include "hosting/Interruption.h"
#include "hosting/UnusableInput.h"
#include "tools/shadingctl/replay/PendingFrames.h"

namespace shadingctl {

ReadingEnd ReadToTheEnd(std::function<void()> const& read) {
  try {
    read();
  } catch (hosting::Interrupted const& interrupted) {
    return {interrupted.what(), true};
  } catch (hosting::UnusableInput const& unusable) {
    return {unusable.what(), false};
  }
  return {};
}

ReadingEnd PlaySession(recording::Session& session, Replay& replay, std::int32_t camera,
                       std::set<std::int32_t>& cameras, SessionListener const& listener) {
  PendingFrames pending;
  ReadingEnd const end = ReadToTheEnd([&] {
    for (recording::Call call;;) {
      if (hosting::InterruptedBy() != 0) throw hosting::Interrupted();
      if (!session.Next(call)) return;
      cameras.insert(call.camera.value_or(camera));
      if (auto const* update = std::get_if<recording::UpdateSensorData>(&call.operation)) {
        for (auto const& sample : update->batch) pending.AddSample(call.camera.value_or(camera), sample);
      }
      PlayedCall const played = replay.Play(call);
      listener.onCall(call, played);
      if (played.frame) pending.Add(played.frame->frame);
      while (auto const frame = pending.Take()) listener.onFrame(*frame);
    }
  });
  while (auto const frame = pending.TakeAnyway()) listener.onFrame(*frame);
  return end;
}

}  // namespace shadingctl
