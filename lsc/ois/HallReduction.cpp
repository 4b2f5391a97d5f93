#include "lsc/ois/HallReduction.h"

namespace lsc {
namespace {

HallPosition Mean(HallTable const& table, Span span) {
  float sumX = 0.0F;
  float sumY = 0.0F;
  for (int i = span.startIndex; i <= span.endIndex; ++i) {
    sumX += table.entries[i].hallX;
    sumY += table.entries[i].hallY;
  }
  auto const count = static_cast<float>(span.length());
  return {sumX / count, sumY / count};
}

HallPosition Maximum(HallTable const& table, Span span) {
  float x = table.entries[span.startIndex].hallX;
  float y = table.entries[span.startIndex].hallY;
  for (int i = span.startIndex + 1; i <= span.endIndex; ++i) {
    x = x > table.entries[i].hallX ? x : table.entries[i].hallX;
    y = y > table.entries[i].hallY ? y : table.entries[i].hallY;
  }
  return {x, y};
}

HallPosition At(HallTable const& table, int index) { return {table.entries[index].hallX, table.entries[index].hallY}; }

}  // namespace

std::optional<HallPosition> ReduceSpan(HallTable const& table, Span span, int mode) {
  switch (mode) {
    case kHallMean:
      return Mean(table, span);
    case kHallMaximum:
      return Maximum(table, span);
    case kHallMiddle:
      return At(table, (span.startIndex + span.endIndex) / 2);
    case kHallLast:
      return At(table, span.endIndex);
    default:
      return std::nullopt;
  }
}

}  // namespace lsc
