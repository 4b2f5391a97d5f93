// Times of results may be any 64-bit numbers. Their sums and differences wrap, so times that cannot be real do no harm.
#pragma once

#include <cstdint>

namespace shadingctl {

inline std::int64_t WrappingSum(std::int64_t one, std::int64_t other) {
  return static_cast<std::int64_t>(static_cast<std::uint64_t>(one) + static_cast<std::uint64_t>(other));
}

inline std::int64_t WrappingDifference(std::int64_t later, std::int64_t earlier) {
  return static_cast<std::int64_t>(static_cast<std::uint64_t>(later) - static_cast<std::uint64_t>(earlier));
}

inline std::int64_t WrappingNsOf(std::int64_t us) {
  return static_cast<std::int64_t>(static_cast<std::uint64_t>(us) * 1000);
}

}  // namespace shadingctl
