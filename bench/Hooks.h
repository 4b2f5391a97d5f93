// Stands in front of malloc and of the mutexes' functions, for this program and the libraries that it loads.
#pragma once

#include <cstdint>

namespace bench {

// How often the current thread has asked for memory since the construction.
class CountAllocations {
 public:
  CountAllocations();
  std::uint64_t soFar() const;

 private:
  std::uint64_t mBefore;
};

// Times the current thread while it lives, with and without at least one mutex held, in the same pass and with the same
// disturbance. What the looks at the clock take is measured and taken off.
class TimeLocks {
 public:
  TimeLocks();
  ~TimeLocks();
  TimeLocks(TimeLocks const&) = delete;
  TimeLocks& operator=(TimeLocks const&) = delete;

  // Of the time since the construction, the part with a mutex held.
  double heldShare() const;
};

}  // namespace bench
