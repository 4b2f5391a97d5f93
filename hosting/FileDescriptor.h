// A file descriptor with an owner.
#pragma once

#include <unistd.h>

#include <utility>

namespace hosting {

// Closed at destruction. Negative: none.
class FileDescriptor {
 public:
  FileDescriptor() = default;
  explicit FileDescriptor(int number) : mNumber(number) {}
  FileDescriptor(FileDescriptor&& other) noexcept : mNumber(std::exchange(other.mNumber, -1)) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept {
    std::swap(mNumber, other.mNumber);
    return *this;
  }
  ~FileDescriptor() {
    if (mNumber >= 0) close(mNumber);
  }

  int Number() const { return mNumber; }
  explicit operator bool() const { return mNumber >= 0; }

  // Closes now; false, with errno set, when the system reports a failure of an earlier write.
  bool Close() { return close(std::exchange(mNumber, -1)) == 0; }

 private:
  int mNumber = -1;
};

}  // namespace hosting
