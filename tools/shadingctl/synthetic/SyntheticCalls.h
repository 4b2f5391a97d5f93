// The calls of a host with one camera of a synthetic session.
#pragma once

#include <cstdint>
#include <deque>
#include <optional>
#include <random>
#include <utility>

#include "recording/Session.h"
#include "tools/shadingctl/synthetic/SyntheticOptions.h"
#include "tools/shadingctl/synthetic/SyntheticSamples.h"

namespace shadingctl {

// A frame's batch is delivered some time after the end of its readout; the frame's calls are made then.
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
  bool IsRestarted(std::uint32_t index) const;
  std::optional<double> Amount(EventKind kind, std::uint32_t index) const;
  std::uint64_t ToldNs(std::uint32_t index) const;
  std::int64_t HostDelayNs(std::uint32_t index);
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

}  // namespace shadingctl
