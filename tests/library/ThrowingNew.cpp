#include "tests/library/ThrowingNew.h"

#include <cstdlib>
#include <new>

thread_local bool throwingNew = false;

void* operator new(std::size_t size) {
  void* const memory = throwingNew ? nullptr : std::malloc(size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
