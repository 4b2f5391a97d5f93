// The input of a measured camera: a block of frames that is repeated with later times in each repetition.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "lsc/VeyraShadingUtil.h"

namespace bench {

using Sample = NSCam::Utils::SensorData;
using Samples = std::vector<Sample>;

constexpr std::uint32_t kRollingShutterNs = 15'980'096;
constexpr std::uint32_t kShortRollingShutterNs = 2'000'000;  // at 8 kHz, about as many samples as the other at 200 Hz

struct Frame {
  std::uint32_t number = 0;
  CalcOISValueInput input{};
  Samples batch;  // in the order of delivery
};

class Stream {
 public:
  // 60 frames a second with 1.2 ms of exposure, each delivered with its samples up to 16 ms after its time, as a phone
  // does. The samples are evenly spaced; `samplesPerBlock` of them come with one block of kBlockFrames. With
  // `overlapping`, every second batch brings every second sample of the last quarter of the batch before.
  Stream(std::string name, std::uint32_t samplesPerBlock, bool overlapping);

  // The recording in the directory; throws UnusableInput.
  Stream(std::string name, std::string const& recordingDirectory);

  static constexpr std::uint32_t kBlockFrames = 64;

  std::string const& Name() const { return mName; }
  std::vector<Frame> const& Frames() const { return mFrames; }
  double SamplesPerFrame() const;

  // Moves the block behind everything that was played before.
  void Advance();

 private:
  std::string mName;
  std::vector<Frame> mFrames;
  std::int64_t mLengthNs = 0;
};

}  // namespace bench
