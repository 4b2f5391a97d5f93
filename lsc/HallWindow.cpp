#include "lsc/HallWindow.h"

#include "lsc/TimeUnits.h"

namespace lsc {

void HallWindow::dropRepeatedMicroseconds() {
  // Samples a microsecond apart are never of one; only closer ones need the division.
  int next = 1;
  while (next < mHeld && mTimesNs[next] - mTimesNs[next - 1] >= kNsPerUs) ++next;
  if (next >= mHeld) return;

  int kept = next;
  for (; next < mHeld; ++next) {
    if (ToUs(mTimesNs[next]) == ToUs(mTimesNs[kept - 1])) continue;
    mTimesNs[kept] = mTimesNs[next];
    mHallX[kept] = mHallX[next];
    mHallY[kept] = mHallY[next];
    ++kept;
  }
  mHeld = kept;
}

}  // namespace lsc
