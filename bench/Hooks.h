// Interposes malloc and the mutex functions, for this program and the libraries that it loads.
#pragma once

#include <cstdint>

namespace bench {

// Allocations by the current thread since construction.
class CountAllocations {
 public:
  CountAllocations();
  std::uint64_t SoFar() const;

 private:
  std::uint64_t mBefore;
};

// Divides the current thread's time into the parts with and without a mutex held, in one pass. The cost of reading the
// clock is measured and subtracted.
class TimeLocks {
 public:
  TimeLocks();
  ~TimeLocks();
  TimeLocks(TimeLocks const&) = delete;
  TimeLocks& operator=(TimeLocks const&) = delete;

  // Share of the time since construction with a mutex held.
  double HeldShare() const;
};

// How long the current thread waits for mutexes that another thread holds, while an object of this class lives.
class TimeWaits {
 public:
  TimeWaits();
  ~TimeWaits();
  TimeWaits(TimeWaits const&) = delete;
  TimeWaits& operator=(TimeWaits const&) = delete;

  // Since construction, for the library's mutexes and for all others, in ns.
  static std::int64_t ForLibraryNs();
  static std::int64_t ForOthersNs();
};

}  // namespace bench
