#include "tools/shadingctl/statistics/Histogram.h"

#include <algorithm>
#include <cmath>

namespace shadingctl {

double Histogram::Part::Mean() const { return count == 0 ? 0 : sum / static_cast<double>(count); }

double Histogram::Part::StandardDeviation() const {
  if (count == 0) return 0;
  return std::sqrt(std::max(0.0, squares / static_cast<double>(count) - Mean() * Mean()));
}

std::size_t Histogram::Bin(std::int64_t value) {
  if (value < (1 << kPartsBits)) return value < 1 ? 0 : static_cast<std::size_t>(value);
  auto const bits = static_cast<std::size_t>(63 - __builtin_clzll(static_cast<unsigned long long>(value)));
  std::size_t const shift = bits - kPartsBits;
  return (shift << kPartsBits) + static_cast<std::size_t>(value >> shift);
}

std::size_t Histogram::Bin(double value) {
  constexpr double kLargest = 0x1p62;
  return Bin(static_cast<std::int64_t>(std::clamp(value, 0.0, kLargest)));
}

void Histogram::Add(std::int64_t value) {
  std::size_t const index = Bin(value);
  auto place = std::partition_point(mBins.begin(), mBins.end(), [=](auto const& bin) { return bin.first < index; });
  if (place == mBins.end() || place->first != index) place = mBins.insert(place, {index, {}});
  Part& bin = place->second;
  auto const number = static_cast<double>(value);
  ++bin.count;
  bin.sum += number;
  bin.squares += number * number;
  mLargest = mCount == 0 ? value : std::max(mLargest, value);
  ++mCount;
}

std::optional<double> Histogram::Median() const { return AtRank(mCount / 2 + 1); }

std::optional<double> Histogram::AtRank(std::uint64_t rank) const {
  std::uint64_t seen = 0;
  for (auto const& [index, bin] : mBins) {
    seen += bin.count;
    if (seen >= rank) return bin.Mean();
  }
  return std::nullopt;
}

Histogram::Part Histogram::Between(double above, double upTo) const {
  Part all;
  for (auto const& [index, bin] : mBins) {
    if (index <= Bin(above) || index > Bin(upTo)) continue;
    all.count += bin.count;
    all.sum += bin.sum;
    all.squares += bin.squares;
  }
  return all;
}

}  // namespace shadingctl
