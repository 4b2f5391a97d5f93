// Interposes malloc and the mutex functions, for this program and the libraries that it loads.
#pragma once

#include <cstdint>

namespace bench {

// Allocations by the current thread since construction.
class CountAllocations {
 public:
  CountAllocations();
  std::uint64_t soFar() const;

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
  double heldShare() const;
};

}  // namespace bench
