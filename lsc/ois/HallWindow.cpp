#include "lsc/ois/HallWindow.h"

namespace lsc {
namespace {

void Keep(NSCam::Utils::SensorData const& sample, HallSample& kept) {
  kept.timeNs = sample.timestamp;
  kept.x = sample.oisHallX;
  kept.y = sample.oisHallY;
}

}  // namespace

// One piece of code with all that it calls: it runs with the locks held, and calls would be a third of it.
[[gnu::flatten]] void HallWindow::read(SampleWindow const& window) {
  mSize = window.size();
  mIsSpan = mReadout && IsPlain(window);
  if (!mIsSpan) return keep(window.all());

  FoundSpan const span = FindSpan(window, *mReadout);
  mStartIsNear = span.startIsNear;
  keep(span.run);
}

// Two at a time: this is all that is done with many samples while the locks are held.
void HallWindow::keep(SampleRun const& run) {
  mKept = run.size;
  ForEachPiece(run, [to = mSamples](NSCam::Utils::SensorData const* from, std::size_t count) mutable {
    for (; count >= 2; count -= 2, from += 2, to += 2) {
      Keep(from[0], to[0]);
      Keep(from[1], to[1]);
    }
    if (count > 0) Keep(*from, *to++);
  });
}

}  // namespace lsc
