#include "lsc/ois/FrameTimes.h"

#include "lsc/TimeUnits.h"

namespace lsc {
namespace {

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

}  // namespace lsc
