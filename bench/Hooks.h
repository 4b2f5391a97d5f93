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

// Times, on the current thread and while it lives, how long at least one mutex is held. What the two looks at the clock
// take is measured and taken off.
class TimeLocks {
 public:
  TimeLocks();
  ~TimeLocks();
  TimeLocks(TimeLocks const&) = delete;
  TimeLocks& operator=(TimeLocks const&) = delete;
  double heldNs() const;
};

}  // namespace bench
