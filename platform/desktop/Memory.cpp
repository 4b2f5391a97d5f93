#include "platform/desktop/Memory.h"

#include <cstddef>
#include <new>

namespace {

thread_local int toFail = 0;
thread_local int failed = 0;

bool RunsOut() {
  if (toFail == 0) return false;
  --toFail;
  ++failed;
  return true;
}

}  // namespace

namespace desktop {

void FailAllocations(int count) {
  toFail = count;
  failed = 0;
}

int FailedAllocations() { return failed; }

}  // namespace desktop

// The memory comes from the throwing forms, so that every operator delete, a sanitizer's too, takes it back.
void* operator new(std::size_t size, std::nothrow_t const&) noexcept {
  if (RunsOut()) return nullptr;
  try {
    return ::operator new(size);
  } catch (std::bad_alloc const&) {
    return nullptr;
  }
}

void* operator new[](std::size_t size, std::nothrow_t const&) noexcept {
  if (RunsOut()) return nullptr;
  try {
    return ::operator new[](size);
  } catch (std::bad_alloc const&) {
    return nullptr;
  }
}
