// Percentiles of any number of values, in constant memory.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "tools/shadingctl/statistics/Histogram.h"

namespace shadingctl {

// The smallest and the largest of some values; empty before the first.
struct Range {
  std::optional<double> lowest;
  std::optional<double> highest;
  void Add(double value);
};

enum class Scale {
  kShare,     // 0 to 1, in steps of kShareStep
  kQuantity,  // from 0, in steps of 1/64 of the value
};

// A percentile is the value of the nearest rank: the least value that at least this share of all values do not exceed.
// The least and the largest value are exact.
class Percentiles {
 public:
  // Shares: as a difference. Quantities: as a share of the value, or as a difference where the value is below 1.
  static constexpr double kShareStep = 1e-3;
  static constexpr double kShareError = kShareStep / 2;
  static constexpr double kQuantityError = Histogram::kMedianError;

  explicit Percentiles(Scale scale);

  // Requires: a finite value from 0; of shares, up to 1.
  void Add(double value);

  std::uint64_t Count() const { return mCount; }
  std::optional<double> Least() const { return mRange.lowest; }
  std::optional<double> Largest() const { return mRange.highest; }

  // Of `percent` from 0 to 100, never outside of the values; empty without values.
  std::optional<double> At(double percent) const;

 private:
  std::vector<std::uint64_t> mShares;      // per step
  std::unique_ptr<Histogram> mQuantities;  // null for shares
  std::uint64_t mCount = 0;
  Range mRange;
};

}  // namespace shadingctl
