// A progress bar on standard error.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>

namespace shadingctl {

// Shows nothing when standard error is no terminal, when it is not wanted, and during the first second. Removed at
// destruction.
class Progress {
 public:
  // `total` answers how many steps there are in all; it is asked when the bar appears, if it does.
  Progress(bool wanted, std::function<std::optional<std::uint64_t>()> total);
  ~Progress();
  Progress(Progress const&) = delete;
  Progress& operator=(Progress const&) = delete;

  // One step more is done.
  void Step();

 private:
  using Clock = std::chrono::steady_clock;

  void Draw();

  bool const mWanted;
  std::function<std::optional<std::uint64_t>()> const mAskTotal;
  std::optional<std::uint64_t> mTotal;
  std::uint64_t mDone = 0;
  bool mShown = false;
  Clock::time_point const mStart = Clock::now();
  Clock::time_point mNextDraw;
};

}  // namespace shadingctl
