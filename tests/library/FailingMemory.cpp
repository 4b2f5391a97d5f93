#include "tests/library/FailingMemory.h"

#include <sys/mman.h>

#include <cstdlib>
#include <new>

#include "tests/library/FaultHost.h"

namespace {

int firstToFail = 0;
int countToFail = 0;

faults::Allocations& Shared() {
  static void* const memory =
      mmap(nullptr, sizeof(faults::Allocations), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) std::abort();
  return *static_cast<faults::Allocations*>(memory);
}

bool RunsOut() {
  if (!faults::isInsideLibrary || countToFail == 0) return false;
  int const number = Shared().seen++;
  return number >= firstToFail && number - firstToFail < countToFail;
}

void* Take(std::size_t size) {
  if (RunsOut()) {
    ++Shared().thrown;
    throw std::bad_alloc();
  }
  void* const memory = std::malloc(size == 0 ? 1 : size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

void* TakeOrNull(std::size_t size) noexcept {
  if (RunsOut()) {
    ++Shared().refused;
    return nullptr;
  }
  return std::malloc(size == 0 ? 1 : size);
}

}  // namespace

namespace faults {

Allocations& FailAllocations(int first, int count) {
  firstToFail = first;
  countToFail = count;
  Shared() = {0, 0, 0};
  return Shared();
}

void StopFailing() { countToFail = 0; }

}  // namespace faults

void* operator new(std::size_t size) { return Take(size); }
void* operator new[](std::size_t size) { return Take(size); }
void* operator new(std::size_t size, std::nothrow_t const&) noexcept { return TakeOrNull(size); }
void* operator new[](std::size_t size, std::nothrow_t const&) noexcept { return TakeOrNull(size); }
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }
