// The bytes of a file, a pipe or standard input, from front to back.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "hosting/FileDescriptor.h"

namespace recording {

// Whatever fails throws UnusableInput: "FILE: cannot be read: REASON".
class InputFile {
 public:
  // "-" is standard input.
  explicit InputFile(std::string path);

  // Reads at most `size` bytes, at least one of them unless the end is reached: 0. A regular file that has become
  // shorter since it was opened has failed, not ended. A wait for a pipe's writer can be interrupted (Interrupted).
  std::size_t Read(char* buffer, std::size_t size);

  // The first byte, which Read answers all the same; nullopt for an empty file. Requires: nothing was read yet.
  std::optional<char> Peek();

  // What to call the file in a message.
  std::string const& Name() const { return mName; }

  [[noreturn]] void Fail(int error) const;

 private:
  std::string mName;
  hosting::FileDescriptor mOwned;
  int mFile = 0;
  std::optional<char> mPeeked;
  bool mIsRegular = false;
  std::int64_t mLeft = 0;  // bytes that a regular file had when it was opened and that were not read yet
};

}  // namespace recording
