#include "lsc/HallWindow.h"

namespace lsc {

void HallWindow::dropRepeatedMicroseconds() {
  if (!mAnyClose) return;
  int kept = 1;
  for (int i = 1; i < mHeld; ++i) {
    if (ToUs(mTimesNs[i]) == ToUs(mTimesNs[kept - 1])) continue;
    mTimesNs[kept] = mTimesNs[i];
    mHallX[kept] = mHallX[i];
    mHallY[kept] = mHallY[i];
    ++kept;
  }
  mHeld = kept;
}

}  // namespace lsc
