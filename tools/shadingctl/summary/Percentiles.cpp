#include "tools/shadingctl/summary/Percentiles.h"

#include <algorithm>
#include <cmath>

namespace shadingctl {

Percentiles::Percentiles(Scale scale) {
  if (scale == Scale::kShare) {
    mShares.resize(static_cast<std::size_t>(std::lround(1 / kShareStep)) + 1);
  } else {
    mQuantities = std::make_unique<Histogram>();
  }
}

void Percentiles::Add(double value) {
  ++mCount;
  mLeast = mLeast ? std::min(*mLeast, value) : value;
  mLargest = mLargest ? std::max(*mLargest, value) : value;
  if (mQuantities) {
    mQuantities->Add(std::llround(value));
  } else {
    ++mShares[static_cast<std::size_t>(std::lround(value / kShareStep))];
  }
}

std::optional<double> Percentiles::At(double percent) const {
  if (mCount == 0) return std::nullopt;
  auto const rank = static_cast<std::uint64_t>(std::ceil(percent / 100 * static_cast<double>(mCount)));
  std::uint64_t const wanted = std::clamp<std::uint64_t>(rank, 1, mCount);
  double value = 0;
  if (mQuantities) {
    value = *mQuantities->AtRank(wanted);
  } else {
    std::uint64_t seen = 0;
    std::size_t step = 0;
    while (seen + mShares[step] < wanted) seen += mShares[step++];
    value = static_cast<double>(step) * kShareStep;
  }
  return std::clamp(value, *mLeast, *mLargest);
}

}  // namespace shadingctl
