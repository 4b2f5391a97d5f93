// A session made from a seed: hand-held motion, and the irregularities that a phone shows; and what pictures of a fixed
// target would show of it.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <utility>

#include "recording/Session.h"
#include "tools/shadingctl/synthetic/SyntheticSamples.h"

namespace shadingctl {

// The calls of a host with one camera. A frame's batch is delivered some time after the end of its readout; the frame's
// calls are made then.
class SyntheticCalls {
 public:
  // Of options.cameras[camera]; `options` must outlive it.
  SyntheticCalls(SyntheticOptions const& options, std::size_t camera);

  // The next call, with its time; null at the end. Does not advance: Pop does.
  recording::Call* Next();
  void Pop() { mCalls.pop_front(); }

 private:
  using Mode = std::pair<std::uint32_t, std::uint32_t>;  // number, readout time in ns

  void QueueFrame(std::uint32_t index);
  void QueueStart(std::int64_t timeNs);
  void QueueCalculations(std::uint32_t index, std::int64_t timeNs);
  void Queue(std::int64_t timeNs, decltype(recording::Call::operation) operation);
  bool IsDropped(std::uint32_t index);
  std::optional<double> Amount(EventKind kind, std::uint32_t index) const;
  std::uint64_t ToldNs(std::uint32_t index) const;
  Mode ModeAt(std::uint32_t index, std::uint32_t modeIndex) const;

  SyntheticOptions const& mOptions;
  SyntheticCamera mCamera;
  std::int64_t mFirstFrameNs;
  std::uint32_t mDropSpacing;  // one of so many frames in a row is dropped; 0: none
  std::uint32_t mDroppedInRow = 0;
  std::uint32_t mNextFrame = 0;        // index: the frame's number less 1
  std::deque<recording::Call> mCalls;  // made and not handed out yet
  bool mStopped = false;
  std::int64_t mLastTimeNs = 0;  // of the calls so far
  std::optional<Mode> mStored;   // what the monitor knows
  SyntheticBatches mBatches;
  std::mt19937_64 mDropChance;
  std::mt19937_64 mJitterChance;
};

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
