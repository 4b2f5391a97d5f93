#include "lsc/ois/HallReduction.h"

namespace lsc {
namespace {

HallPosition Mean(HallRun span) {
  float sumX = 0.0F;
  float sumY = 0.0F;
  int count = 0;
  ForEachEntry(span, [&](HallSample const& entry) {
    sumX += entry.x;
    sumY += entry.y;
    ++count;
  });
  auto const divisor = static_cast<float>(count);
  return {sumX / divisor, sumY / divisor};
}

HallPosition Maximum(HallRun span) {
  HallPosition maximum = {span.samples->x, span.samples->y};
  ForEachEntry(span, [&](HallSample const& entry) {
    maximum.x = maximum.x > entry.x ? maximum.x : entry.x;
    maximum.y = maximum.y > entry.y ? maximum.y : entry.y;
  });
  return maximum;
}

HallPosition At(HallRun span, int index) {
  HallPosition position = {};
  ForEachEntry(span, [&](HallSample const& entry) {
    if (index-- == 0) position = {entry.x, entry.y};
  });
  return position;
}

}  // namespace

std::optional<HallPosition> ReduceSpan(HallRun span, int mode) {
  int last = -1;
  switch (mode) {
    case kHallMean:
      return Mean(span);
    case kHallMaximum:
      return Maximum(span);
    case kHallMiddle:
    case kHallLast:
      ForEachEntry(span, [&](HallSample const&) { ++last; });
      return At(span, mode == kHallLast ? last : last / 2);
    default:
      return std::nullopt;
  }
}

}  // namespace lsc
