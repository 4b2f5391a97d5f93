#include "bench/Hooks.h"

#include <link.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstring>

#include "bench/LockFunctions.h"

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

// The library's code: bounds of its segments. Found when locks are first counted, at which it must be loaded.
struct Code {
  Code() { dl_iterate_phdr(Find, this); }

  static int Find(dl_phdr_info* object, std::size_t, void* code) {
    if (std::strstr(object->dlpi_name, "libvcam_shadingutil") == nullptr) return 0;
    for (int i = 0; i < object->dlpi_phnum; ++i) {
      if (object->dlpi_phdr[i].p_type != PT_LOAD) continue;
      std::uintptr_t const begin = object->dlpi_addr + object->dlpi_phdr[i].p_vaddr;
      auto& bounds = *static_cast<Code*>(code);
      bounds.begin = std::min(bounds.begin, begin);
      bounds.end = std::max(bounds.end, begin + object->dlpi_phdr[i].p_memsz);
    }
    return 1;
  }

  bool Has(void const* address) const {
    auto const place = reinterpret_cast<std::uintptr_t>(address);
    return place >= begin && place < end;
  }

  std::uintptr_t begin = ~std::uintptr_t{0};
  std::uintptr_t end = 0;
};

Code const& LibrarysCode() {
  static Code const code;
  return code;
}

thread_local bool waitsAreCounted = false;
thread_local bench::Waits waits;

bool WaitIsCounted(void const* caller) { return waitsAreCounted && LibrarysCode().Has(caller); }

template <typename Try, typename Lock>
[[gnu::noinline]] int CountWait(Try tryToLock, Lock lock) {
  int const result = tryToLock();
  waits.acquisitions += result == 0 || result == EBUSY ? 1 : 0;
  if (result != EBUSY) return result;
  ++waits.contended;
  Clock::time_point const begin = Clock::now();
  int const waited = lock();
  std::int64_t const ns = std::chrono::nanoseconds(Clock::now() - begin).count();
  waits.ns += ns;
  waits.longestNs = std::max(waits.longestNs, ns);
  return waited;
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

// A lock that was not to be had at once counts as contended, also where the caller does not wait for it.
#define STAND_BEFORE_LOCK(name, tryName, parameters, arguments)                                   \
  __attribute__((visibility("default"))) int name parameters noexcept {                           \
    auto const next = NEXT_FUNCTION(name);                                                        \
    auto const countWait = [&] {                                                                  \
      auto const nextTry = NEXT_FUNCTION(tryName);                                                \
      return CountWait([&] { return nextTry(lock); }, [&] { return next arguments; });            \
    };                                                                                            \
    int const result = WaitIsCounted(__builtin_return_address(0)) ? countWait() : next arguments; \
    if (result == 0 && locks.isTimed && locks.depth++ == 0) Cut(false);                           \
    return result;                                                                                \
  }
#define STAND_BEFORE_UNLOCK(name, parameters, arguments)                \
  __attribute__((visibility("default"))) int name parameters noexcept { \
    auto const next = NEXT_FUNCTION(name);                              \
    if (locks.isTimed && --locks.depth == 0) Cut(true);                 \
    return next arguments;                                              \
  }
FOR_EACH_FUNCTION_THAT_LOCKS(STAND_BEFORE_LOCK)
FOR_EACH_FUNCTION_THAT_UNLOCKS(STAND_BEFORE_UNLOCK)

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

bool TimeLocks::sawLock() { return locks.pieces[true] > 0; }

CountWaits::CountWaits() {
  LibrarysCode();
  waits = {};
  waitsAreCounted = true;
}

CountWaits::~CountWaits() { waitsAreCounted = false; }

Waits CountWaits::SoFar() { return waits; }

}  // namespace bench
