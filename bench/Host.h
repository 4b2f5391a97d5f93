// A host of one camera, on a stream that goes on for ever.
#pragma once

#include <cstdint>
#include <vector>

#include "bench/Library.h"
#include "bench/Stream.h"

namespace bench {

class Host {
 public:
  // The camera's samples: so many in 64 frames, in order.
  Host(Library& library, int camera, std::uint32_t samplesPerBlock)
      : mLibrary(library), mCamera(camera), mStream("", samplesPerBlock, false), mPull(ProviderName(camera)) {}

  Frame const& Next() {
    if (mNext == mStream.Frames().size()) {
      mStream.Advance();
      mNext = 0;
    }
    return mStream.Frames()[mNext++];
  }

  // Lets the platform have the frame's samples.
  void Deliver(Frame const& frame) { mPull.Deliver(frame.batch); }

  void Update(Frame const& frame) { mLibrary.Object().UpdateSensorData(mCamera, frame.number, frame.input.timestamp0); }
  void Calculate(Frame const& frame) {
    CalcOISValueInput input = frame.input;
    int matched = 0;
    mLibrary.Object().CalcOISValue(kShadingPreview, input, &mX, &mY, frame.number, mCamera, matched);
    mMatched += static_cast<std::size_t>(matched);
  }

  // Frames with a sample at their start so far.
  std::size_t Matched() const { return mMatched; }

 private:
  Library& mLibrary;
  int mCamera;
  Stream mStream;
  Pull mPull;
  std::size_t mNext = 0;
  std::vector<double> mX;
  std::vector<double> mY;
  std::size_t mMatched = 0;
};

}  // namespace bench
