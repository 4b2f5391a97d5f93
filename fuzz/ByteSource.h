// Decodes a fuzz input value by value. Past its end every value is 0.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

namespace fuzz {

class ByteSource {
 public:
  ByteSource(std::uint8_t const* bytes, std::size_t count) : mNext(bytes), mLeft(count) {}

  bool IsEmpty() const { return mLeft == 0; }

  template <typename Number>
  Number Take() {
    Number number{};
    std::size_t const count = mLeft < sizeof number ? mLeft : sizeof number;
    if (count > 0) std::memcpy(&number, mNext, count);
    Skip(count);
    return number;
  }

  // Below `bound`.
  std::uint32_t TakeBelow(std::uint32_t bound) { return Take<std::uint8_t>() % bound; }

  template <typename Value, std::size_t N>
  Value TakeOneOf(Value const (&values)[N]) {
    return values[TakeBelow(N)];
  }

  std::string TakeText(std::size_t count) {
    if (count > mLeft) count = mLeft;
    std::string text(reinterpret_cast<char const*>(mNext), count);
    Skip(count);
    return text;
  }
  std::string TakeRest() { return TakeText(mLeft); }

 private:
  void Skip(std::size_t count) {
    mNext += count;
    mLeft -= count;
  }

  std::uint8_t const* mNext;
  std::size_t mLeft;
};

}  // namespace fuzz
