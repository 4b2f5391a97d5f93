// Interposes malloc and the functions that lock (LockFunctions.h), for this program and the libraries that it loads.
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

// Divides the current thread's time into the parts with and without a lock held, in one pass. The cost of reading the
// clock is measured and subtracted.
class TimeLocks {
 public:
  TimeLocks();
  ~TimeLocks();
  TimeLocks(TimeLocks const&) = delete;
  TimeLocks& operator=(TimeLocks const&) = delete;

  // Share of the time since construction with a lock held.
  double HeldShare() const;

  // Whether any lock was seen.
  static bool sawLock();
};

// The current thread's acquisitions of the library's locks. Contended: another thread held the lock.
struct Waits {
  std::uint64_t acquisitions = 0;
  std::uint64_t contended = 0;
  std::int64_t ns = 0;  // waited for the contended ones
  std::int64_t longestNs = 0;
};

// Counts them while an object of this class lives. Requires: the library is loaded.
class CountWaits {
 public:
  CountWaits();
  ~CountWaits();
  CountWaits(CountWaits const&) = delete;
  CountWaits& operator=(CountWaits const&) = delete;

  // Since construction.
  static Waits SoFar();
};

}  // namespace bench
