// The times of calls one by one, and what the slow ones spent them on.
#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace bench {

// Far above any call that waits for nothing.
constexpr std::int64_t kSlowNs = 20'000;

// What a slow call spent its time on: the first of these that applies.
enum Cause {
  kPageFault,
  kLibraryLock,  // at least half of the time waiting for a lock of the library
  kPreempted,    // another thread got the processor
  kPlatform,     // at least half of the time in the platform, its mutexes included
  kElsewhere,    // none of these: an interrupt, the hypervisor, or cold memory
  kCauseCount
};

// What happened to the current thread until now.
struct Events {
  static Events Now();

  std::int64_t pageFaults = 0;
  std::int64_t preemptions = 0;
  std::int64_t allocations = 0;
  std::int64_t libraryWaitNs = 0;
  std::int64_t platformNs = 0;
};

// Requires: the current thread has a CountWaits.
class CallTimes {
 public:
  // Memory for all times is touched at once, so that no page of it is missing later.
  explicit CallTimes(std::size_t expected) : mNs(expected, 1) { mNs.clear(); }

  template <typename Call>
  void Measure(Call const& call) {
    Events const before = Events::Now();
    auto const begin = std::chrono::steady_clock::now();
    call();
    auto const end = std::chrono::steady_clock::now();
    Add(std::chrono::nanoseconds(end - begin).count(), before, Events::Now());
  }

  struct Summary {
    std::size_t calls = 0;
    std::int64_t p50Ns = 0;
    std::int64_t p99Ns = 0;
    std::int64_t p999Ns = 0;
    std::int64_t maximumNs = 0;
    std::array<std::size_t, kCauseCount> slow{};
    std::int64_t pageFaults = 0;
    std::int64_t allocations = 0;
  };
  // Requires: at least one call.
  Summary Summarise();

 private:
  void Add(std::int64_t ns, Events const& before, Events const& after);

  std::vector<std::int64_t> mNs;
  Summary mSummary;
};

}  // namespace bench
