// Where the hardware configuration says what lies at which place of a dump file.
#pragma once

#include <cstddef>

namespace lsc {

constexpr char kShadingFeature[] = "FeatureShading";
constexpr std::size_t kShadingKeySize = 32;  // "PNCCaliData[13]" and its like, with the terminator

}  // namespace lsc
