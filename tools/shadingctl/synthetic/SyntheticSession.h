// A session made from a seed: hand-held motion, and the irregularities that a phone shows; and what pictures of a fixed
// target would show of it.
#pragma once

#include <deque>
#include <map>
#include <optional>
#include <string>

#include "recording/Session.h"
#include "tools/shadingctl/synthetic/SyntheticCalls.h"

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

// Writes `path`, with the columns frame, x, y: where the image of the target stands in each frame of the first camera.
// It follows the lens itself, not what the samples say of it: their noise, their clock and what of them is lost changes
// nothing. The samples that explain an image are older than its readout by the library's numbers; the position is the
// mean over the readout that the host told the library, with the times of pair 0. Frames whose readout begins before
// the first sample are left out. Throws UnusableInput and Interrupted; the file is then as it was.
void WriteReference(SyntheticOptions const& options, std::string const& path);

}  // namespace shadingctl
