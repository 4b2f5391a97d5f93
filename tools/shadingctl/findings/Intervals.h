// Stretches of time and lists of frames, in memory that does not grow with the number of frames in a row.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace shadingctl {

// Least length of the windows by which the lens and the sample rate are judged.
constexpr std::int64_t kWindowNs = 500000000;

// later - earlier; wraps as the library's differences do.
std::int64_t DifferenceNs(std::int64_t laterNs, std::int64_t earlierNs);

// Both ends included. The frames are those with which the samples came, or those that are meant.
struct Interval {
  std::int64_t fromNs = 0;
  std::int64_t toNs = 0;
  std::uint32_t firstFrame = 0;
  std::uint32_t lastFrame = 0;

  double Seconds() const { return static_cast<double>(DifferenceNs(toNs, fromNs)) / 1e9; }
};

// In the order in which they were added; neighbours that are nearer to each other than a window become one.
class Intervals {
 public:
  void Add(Interval const& interval);
  void Add(std::int64_t timeNs, std::uint32_t frame) { Add({timeNs, timeNs, frame, frame}); }

  std::vector<Interval> const& All() const { return mAll; }
  bool IsEmpty() const { return mAll.empty(); }

 private:
  std::vector<Interval> mAll;
};

// How many frames, which came first, and when.
struct FrameList {
  static constexpr std::size_t kNamed = 5;

  std::uint64_t count = 0;
  std::array<std::uint32_t, kNamed> first{};
  Intervals intervals;  // of the frames whose time was given

  void Add(std::uint32_t frame, std::optional<std::int64_t> timeNs = std::nullopt);
  std::size_t Named() const { return count < kNamed ? static_cast<std::size_t>(count) : kNamed; }
};

}  // namespace shadingctl
