#include "bench/Hooks.h"

#include <dlfcn.h>
#include <pthread.h>

#include <chrono>
#include <cstddef>
#include <cstring>

extern "C" void* __libc_malloc(std::size_t size);

namespace {

using Clock = std::chrono::steady_clock;

thread_local std::uint64_t allocations = 0;

// A thread's time, cut at every outermost lock and unlock. Reading the clock costs every piece the same.
struct Locks {
  bool isTimed = false;
  int depth = 0;
  Clock::time_point cut;
  Clock::duration ns[2]{};  // not held, held
  std::uint64_t pieces[2]{};
};
thread_local Locks locks;

void Cut(bool wasHeld) {
  Clock::time_point const now = Clock::now();
  locks.ns[wasHeld] += now - locks.cut;
  ++locks.pieces[wasHeld];
  locks.cut = Clock::now();
}

// What a thread waited for mutexes: others' and the library's.
struct Waits {
  bool areTimed = false;
  Clock::duration time[2]{};
};
thread_local Waits waits;

bool IsInLibrary(void const* address) {
  Dl_info info;
  return dladdr(address, &info) != 0 && std::strstr(info.dli_fname, "libvcam_shadingutil") != nullptr;
}

using MutexFunction = int (*)(pthread_mutex_t*);

MutexFunction Next(char const* name) { return reinterpret_cast<MutexFunction>(dlsym(RTLD_NEXT, name)); }

int LockAndTimeWait(pthread_mutex_t* mutex, MutexFunction lock, void const* caller) {
  if (pthread_mutex_trylock(mutex) == 0) return 0;
  Clock::time_point const begin = Clock::now();
  int const result = lock(mutex);
  waits.time[IsInLibrary(caller)] += Clock::now() - begin;
  return result;
}

double Ns(Clock::duration duration) { return std::chrono::duration<double, std::nano>(duration).count(); }

// The cost of an empty piece.
double EmptyPieceNs() {
  static double const emptyNs = [] {
    constexpr int kPieces = 20000;
    locks = {};
    locks.cut = Clock::now();
    for (int i = 0; i < kPieces; ++i) Cut(true);
    double const ns = Ns(locks.ns[true]) / kPieces;
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
  int const result = waits.areTimed ? LockAndTimeWait(mutex, next, __builtin_return_address(0)) : next(mutex);
  if (locks.isTimed && locks.depth++ == 0) Cut(false);
  return result;
}

__attribute__((visibility("default"))) int pthread_mutex_unlock(pthread_mutex_t* mutex) noexcept {
  static MutexFunction const next = Next("pthread_mutex_unlock");
  if (locks.isTimed && --locks.depth == 0) Cut(true);
  return next(mutex);
}

}  // extern "C"

namespace bench {

CountAllocations::CountAllocations() : mBefore(allocations) {}
std::uint64_t CountAllocations::SoFar() const { return allocations - mBefore; }

TimeLocks::TimeLocks() {
  EmptyPieceNs();
  locks = {};
  locks.isTimed = true;
  locks.cut = Clock::now();
}

TimeLocks::~TimeLocks() { locks.isTimed = false; }

double TimeLocks::HeldShare() const {
  Cut(false);
  auto const ns = [](bool held) {
    return Ns(locks.ns[held]) - EmptyPieceNs() * static_cast<double>(locks.pieces[held]);
  };
  return ns(true) / (ns(true) + ns(false));
}

TimeWaits::TimeWaits() {
  waits = {};
  waits.areTimed = true;
}

TimeWaits::~TimeWaits() { waits.areTimed = false; }

std::int64_t TimeWaits::ForLibraryNs() { return std::chrono::nanoseconds(waits.time[true]).count(); }
std::int64_t TimeWaits::ForOthersNs() { return std::chrono::nanoseconds(waits.time[false]).count(); }

}  // namespace bench
