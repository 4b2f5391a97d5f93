// What a host says about one frame.
#pragma once

#include <cstdint>

// Kind of frame, as the host's shading stage numbers it. It selects which of the three timestamps and exposure times of
// CalcOISValueInput counts, and which dump file is written. Every other value is answered with a warning.
enum CustShadingType : std::int32_t {
  kShadingPreview = 0,       // pair 0, preview dump
  kShadingCapture = 1,       // pair 0, capture dump
  kShadingPreviewPair2 = 4,  // pair 2, preview dump
  kShadingCapturePair1 = 5,  // pair 1, capture dump
  kShadingCapturePair2 = 6,  // pair 2, capture dump
};

// One frame's times, in ns.
struct CalcOISValueInput {
  std::uint64_t timestamp0;
  std::uint64_t timestamp1;
  std::uint64_t timestamp2;
  std::uint64_t exposureTime0;
  std::uint64_t exposureTime1;
  std::uint64_t exposureTime2;
};
