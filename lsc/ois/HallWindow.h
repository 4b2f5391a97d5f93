// The samples of one look-up that the computation needs: times and positions, without the rest of the records.
#pragma once

#include <cstddef>
#include <optional>

#include "lsc/SampleWindow.h"
#include "lsc/ois/HallRun.h"
#include "lsc/ois/WindowSpan.h"

namespace lsc {

// On the caller's stack: none, all samples of a window, or those of the span that covers a frame's readout.
class HallWindow final : public SampleReader {
 public:
  // Keeps the span of `readout` where it can be found in the history itself; otherwise, and without a readout, all.
  explicit HallWindow(std::optional<Readout> const& readout) : mReadout(readout) {}

  void read(SampleWindow const& window) override;

  // How many samples the look-up answered, kept or not.
  std::size_t size() const override { return mSize; }

  // What is kept, and whether that is a span. A span is empty when the readout's start was not found.
  HallRun run() const { return {mSamples, mKept}; }
  bool isSpan() const { return mIsSpan; }
  bool startIsNear() const { return mStartIsNear; }

 private:
  void keep(SampleRun const& run);

  std::optional<Readout> mReadout;
  std::size_t mSize = 0;
  std::size_t mKept = 0;
  bool mIsSpan = false;
  bool mStartIsNear = false;
  HallSample mSamples[kWindowSize];
};

}  // namespace lsc
