#include "tools/shadingctl/summary/Percentiles.h"

#include <algorithm>
#include <cmath>

namespace shadingctl {

void Range::Add(double value) {
  lowest = lowest ? std::min(*lowest, value) : value;
  highest = highest ? std::max(*highest, value) : value;
}

Percentiles::Percentiles(Scale scale) {
  if (scale == Scale::kShare) {
    mShares.resize(static_cast<std::size_t>(std::lround(1 / kShareStep)) + 1);
  } else {
    mQuantities = std::make_unique<Histogram>();
  }
}

void Percentiles::Add(double value) {
  ++mCount;
  mRange.Add(value);
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
  return std::clamp(value, *mRange.lowest, *mRange.highest);
}

}  // namespace shadingctl
