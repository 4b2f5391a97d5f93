// An allocator for the blocks of a queue that grows at one end as it shrinks at the other.
#pragma once

#include <atomic>
#include <cstddef>
#include <new>

namespace lsc {

// std::allocator that keeps a few freed blocks for the next allocations of their size, so that a queue of settled
// length takes no memory. The blocks are shared by all queues of the process and stay until it ends. Takes no lock.
template <typename T>
class RecyclingAllocator {
 public:
  using value_type = T;

  RecyclingAllocator() = default;
  template <typename U>
  RecyclingAllocator(RecyclingAllocator<U> const&) {}  // NOLINT: allocators convert

  T* allocate(std::size_t count) {
    if (count == kBlockCount) {
      for (auto& spare : sSpares) {
        if (spare.load(std::memory_order_relaxed) == nullptr) continue;
        if (void* const block = spare.exchange(nullptr, std::memory_order_acquire)) return static_cast<T*>(block);
      }
    }
    return static_cast<T*>(::operator new(count* kSize));
  }

  void deallocate(T* block, std::size_t count) {
    if (count == kBlockCount) {
      for (auto& spare : sSpares) {
        void* none = nullptr;
        if (spare.compare_exchange_strong(none, block, std::memory_order_release, std::memory_order_relaxed)) return;
      }
    }
    ::operator delete(block);
  }

  friend bool operator==(RecyclingAllocator const&, RecyclingAllocator const&) { return true; }
  friend bool operator!=(RecyclingAllocator const&, RecyclingAllocator const&) { return false; }

 private:
  // std::deque's block: 512 bytes in the library that we build with. Other sizes are merely not kept.
  static constexpr std::size_t kSize = sizeof(T);  // NOLINT(bugprone-sizeof-expression): of pointers too
  static constexpr std::size_t kBlockCount = kSize < 512 ? 512 / kSize : 1;
  static constexpr std::size_t kSpareCount = 8;  // one for each camera that runs at once, and some

  inline static std::atomic<void*> sSpares[kSpareCount] = {};
};

}  // namespace lsc
