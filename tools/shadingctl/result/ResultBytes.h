// A result's bytes, for readers of lines and of JSON.
#pragma once

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "hosting/UnusableInput.h"
#include "recording/InputFile.h"

namespace shadingctl {

class ResultBytes {
 public:
  static constexpr std::size_t kLongest = std::size_t{1} << 20U;    // a line, or a value of JSON
  static constexpr std::size_t kLargest = std::size_t{256} << 20U;  // a JSON document

  explicit ResultBytes(std::string const& path) : mFile(path), mBuffer(65536) {}

  std::string const& Name() const { return mFile.Name(); }

  bool AtEnd() { return mAt == mEnd && !Fill(); }
  // Requires: !AtEnd().
  char Current() const { return mBuffer[mAt]; }
  void Advance() { ++mAt; }

  // The next line without its line feed; false at the end.
  bool NextLine(std::string& line) {
    line.clear();
    mSinceValue = 0;
    if (AtEnd()) return false;
    while (!AtEnd()) {
      std::string_view const rest(&mBuffer[mAt], mEnd - mAt);
      std::size_t const length = std::min(rest.find('\n'), rest.size());
      line += rest.substr(0, length);
      mAt += std::min(length + 1, rest.size());
      if (length < rest.size()) break;
    }
    return true;
  }

  // A value of JSON ended here.
  void EndValue() {
    if (mTotal > kLargest) Refuse(fmt::format("JSON of at most {} bytes", kLargest));
    mSinceValue = 0;
  }

  struct Iterator {
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = char const*;
    using reference = char;

    ResultBytes* bytes = nullptr;  // null: the end

    char operator*() const { return bytes->Current(); }
    Iterator& operator++() {
      bytes->Advance();
      return *this;
    }
    bool operator!=(Iterator const& /*end*/) const { return !bytes->AtEnd(); }
  };

 private:
  [[noreturn]] void Refuse(std::string const& expected) const {
    throw hosting::UnusableInput(fmt::format("{}: expected {}, found more", Name(), expected));
  }

  bool Fill() {
    if (mSinceValue > kLongest + mBuffer.size()) Refuse(fmt::format("lines and values of at most {} bytes", kLongest));
    mAt = 0;
    mEnd = mFile.Read(mBuffer.data(), mBuffer.size());
    mTotal += mEnd;
    mSinceValue += mEnd;
    return mEnd > 0;
  }

  recording::InputFile mFile;
  std::vector<char> mBuffer;
  std::size_t mAt = 0;
  std::size_t mEnd = 0;
  std::size_t mTotal = 0;
  std::size_t mSinceValue = 0;  // read since the last line or value ended
};

}  // namespace shadingctl
