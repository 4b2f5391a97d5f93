#include "lsc/ois/FrameTimes.h"

#include <algorithm>

#include "lsc/base/TimeUnits.h"

namespace lsc {
namespace {

// Empirical, tuned on devices: the stabiliser's samples trail the exposure by this share of it and by a constant delay.
constexpr float kOffsetFactor = -0.5432F;
constexpr std::int64_t kOffsetConstantUs = 166;

FrameTimes Times(std::uint64_t timestampNs, std::uint64_t exposureNs, std::uint32_t rollingShutterNs) {
  std::uint64_t const exposureUs = ToUs(exposureNs);
  return {timestampNs, exposureUs, ToUs(rollingShutterNs), ToUs(timestampNs) - exposureUs};
}

}  // namespace

std::optional<FrameTimes> SelectFrameTimes(CustShadingType type, CalcOISValueInput const& input,
                                           std::uint32_t rollingShutterNs) {
  switch (type) {
    case kShadingPreview:
    case kShadingCapture:
      return Times(input.timestamp0, input.exposureTime0, rollingShutterNs);
    case kShadingCapturePair1:
      return Times(input.timestamp1, input.exposureTime1, rollingShutterNs);
    case kShadingPreviewPair2:
    case kShadingCapturePair2:
      return Times(input.timestamp2, input.exposureTime2, rollingShutterNs);
    default:
      return std::nullopt;
  }
}

std::int64_t OffsetUs(std::uint64_t exposureUs, std::uint32_t readoutUs) {
  std::uint64_t const shorterUs = std::min<std::uint64_t>(exposureUs, readoutUs);
  float const shareUs = static_cast<float>(static_cast<std::int64_t>(shorterUs)) * kOffsetFactor;  // 32 bits
  return static_cast<std::int64_t>(shareUs) - kOffsetConstantUs;
}

}  // namespace lsc
