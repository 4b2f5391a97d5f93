#include "lsc/ois/HallReduction.h"

namespace lsc {
namespace {

HallPosition Mean(float const* hallX, float const* hallY, Span span) {
  float sumX = 0.0F;
  float sumY = 0.0F;
  for (int i = span.startIndex; i <= span.endIndex; ++i) {
    sumX += hallX[i];
    sumY += hallY[i];
  }
  auto const count = static_cast<float>(span.length());
  return {sumX / count, sumY / count};
}

float Maximum(float const* values, Span span) {
  float maximum = values[span.startIndex];
  for (int i = span.startIndex + 1; i <= span.endIndex; ++i) maximum = maximum > values[i] ? maximum : values[i];
  return maximum;
}

}  // namespace

std::optional<HallPosition> ReduceSpan(float const* hallX, float const* hallY, Span span, int mode) {
  int const middle = (span.startIndex + span.endIndex) / 2;
  switch (mode) {
    case kHallMean:
      return Mean(hallX, hallY, span);
    case kHallMaximum:
      return HallPosition{Maximum(hallX, span), Maximum(hallY, span)};
    case kHallMiddle:
      return HallPosition{hallX[middle], hallY[middle]};
    case kHallLast:
      return HallPosition{hallX[span.endIndex], hallY[span.endIndex]};
    default:
      return std::nullopt;
  }
}

}  // namespace lsc
