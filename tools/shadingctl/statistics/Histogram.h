// A histogram with logarithmic bins, in bounded memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

namespace shadingctl {

// Counts values in bins that are at most 1/64 of their value wide; those below 1 share a bin. Sums are kept per bin, so
// that whatever is the same for all values comes out exactly. Takes 32 bytes for each bin that has a value, of 3712.
class Histogram {
 public:
  // Values of some bins together.
  struct Part {
    std::uint64_t count = 0;
    double sum = 0;
    double squares = 0;

    double Mean() const;
    double StandardDeviation() const;
  };

  void Add(std::int64_t value);

  std::uint64_t Count() const { return mCount; }
  std::int64_t Largest() const { return mLargest; }  // 0 as long as there are no values

  // The mean of the bin in which the middle value lies (the upper one of two); empty without values. Differs from that
  // value by less than 1 or by at most its kMedianError-th part.
  std::optional<double> Median() const;
  static constexpr double kMedianError = 1.0 / 64;

  // The mean of the bin of the value with that rank in ascending order, from 1; empty beyond Count().
  std::optional<double> AtRank(std::uint64_t rank) const;

  // The bins after that of `above`, up to and including that of `upTo`.
  Part Between(double above, double upTo) const;

 private:
  static constexpr std::size_t kPartsBits = 6;  // 64 bins from one power of two to the next

  static std::size_t Bin(std::int64_t value);
  static std::size_t Bin(double value);

  std::vector<std::pair<std::size_t, Part>> mBins;  // those with values, in ascending order
  std::uint64_t mCount = 0;
  std::int64_t mLargest = 0;
};

}  // namespace shadingctl
