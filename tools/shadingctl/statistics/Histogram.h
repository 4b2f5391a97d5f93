// A histogram with logarithmic bins, in constant memory.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace shadingctl {

// Counts values in bins that are at most 1/64 of their value wide; those below 1 share a bin. Sums are kept per bin, so
// that whatever is the same for all values comes out exactly.
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
  static constexpr std::size_t kBins = (63 - kPartsBits + 1) << kPartsBits;

  static std::size_t Bin(std::int64_t value);
  static std::size_t Bin(double value);

  std::array<Part, kBins> mBins{};
  std::uint64_t mCount = 0;
  std::int64_t mLargest = 0;
};

}  // namespace shadingctl
