// A bounded queue between one thread that pushes and one that pops.
#pragma once

#include <atomic>
#include <cstddef>
#include <utility>
#include <vector>

namespace capture {

// Neither side waits for the other. All memory is taken by the constructor.
template <typename Value>
class Ring {
 public:
  explicit Ring(std::size_t capacity) : mCells(capacity) {}

  // The pushing thread's.
  std::size_t Room() const { return mCells.size() - (mPushed - mPopped.load(std::memory_order_acquire)); }

  // Requires: Room() > 0.
  void Push(Value const& value) {
    mCells[mPushed % mCells.size()] = value;
    mPushed.store(mPushed + 1, std::memory_order_release);
  }

  // The popping thread's.
  bool IsEmpty() const { return mPopped == mPushed.load(std::memory_order_acquire); }

  // Requires: not empty().
  Value Pop() {
    Value value = std::move(mCells[mPopped % mCells.size()]);
    mPopped.store(mPopped + 1, std::memory_order_release);
    return value;
  }

 private:
  std::vector<Value> mCells;
  std::atomic<std::size_t> mPushed{0};
  std::atomic<std::size_t> mPopped{0};
};

}  // namespace capture
