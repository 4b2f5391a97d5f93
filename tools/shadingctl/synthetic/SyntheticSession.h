// A session made from a seed: hand-held motion, and the irregularities that a phone shows.
#pragma once

#include <deque>
#include <map>
#include <optional>

#include "recording/Session.h"
#include "tools/shadingctl/synthetic/SyntheticCalls.h"
#include "tools/shadingctl/synthetic/SyntheticOptions.h"

namespace shadingctl {

// The same everywhere for the same options: integers and exact floating-point steps only, in a fixed order. Holds a few
// frames' samples at a time.
class SyntheticSession : public recording::Session {
 public:
  explicit SyntheticSession(SyntheticOptions const& options);
  SyntheticSession(SyntheticSession const&) = delete;
  SyntheticSession& operator=(SyntheticSession const&) = delete;

  bool Next(recording::Call& call) override;
  std::optional<std::uint64_t> FrameCount() const override;

 private:
  void Note(std::optional<std::int32_t> camera, recording::UpdateSensorData const& update);

  SyntheticOptions mOptions;
  std::deque<SyntheticCalls> mCameras;                                // a deque: they do not move
  std::map<std::optional<std::int32_t>, std::int64_t> mLastSampleNs;  // by camera
};

}  // namespace shadingctl
