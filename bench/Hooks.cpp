#include "bench/Hooks.h"

#include <dlfcn.h>
#include <pthread.h>

#include <chrono>
#include <cstddef>
#include <mutex>

extern "C" void* __libc_malloc(std::size_t size);

namespace {

using Clock = std::chrono::steady_clock;

thread_local std::uint64_t allocations = 0;

struct Locks {
  bool isTimed = false;
  int depth = 0;
  std::uint64_t holds = 0;  // outermost ones
  Clock::time_point begin;
  Clock::duration held{};
};
thread_local Locks locks;

using MutexFunction = int (*)(pthread_mutex_t*);

MutexFunction Next(char const* name) { return reinterpret_cast<MutexFunction>(dlsym(RTLD_NEXT, name)); }

double Ns(Clock::duration duration) { return std::chrono::duration<double, std::nano>(duration).count(); }

// Of one hold in which nothing is done.
double EmptyHoldNs() {
  static double const emptyNs = [] {
    constexpr int kHolds = 20000;
    std::mutex mutex;
    locks = {};
    locks.isTimed = true;
    for (int i = 0; i < kHolds; ++i) {
      mutex.lock();
      mutex.unlock();
    }
    double const ns = Ns(locks.held) / kHolds;
    locks = {};
    return ns;
  }();
  return emptyNs;
}

}  // namespace

extern "C" {

__attribute__((visibility("default"))) void* malloc(std::size_t size) {
  ++allocations;
  return __libc_malloc(size);
}

__attribute__((visibility("default"))) int pthread_mutex_lock(pthread_mutex_t* mutex) noexcept {
  static MutexFunction const next = Next("pthread_mutex_lock");
  int const result = next(mutex);
  if (locks.isTimed && locks.depth++ == 0) locks.begin = Clock::now();
  return result;
}

__attribute__((visibility("default"))) int pthread_mutex_unlock(pthread_mutex_t* mutex) noexcept {
  static MutexFunction const next = Next("pthread_mutex_unlock");
  if (locks.isTimed && --locks.depth == 0) {
    locks.held += Clock::now() - locks.begin;
    ++locks.holds;
  }
  return next(mutex);
}

}  // extern "C"

namespace bench {

CountAllocations::CountAllocations() : mBefore(allocations) {}
std::uint64_t CountAllocations::soFar() const { return allocations - mBefore; }

TimeLocks::TimeLocks() {
  EmptyHoldNs();
  locks = {};
  locks.isTimed = true;
}

TimeLocks::~TimeLocks() { locks.isTimed = false; }

double TimeLocks::heldNs() const {
  locks.isTimed = false;
  return Ns(locks.held) - EmptyHoldNs() * static_cast<double>(locks.holds);
}

}  // namespace bench
