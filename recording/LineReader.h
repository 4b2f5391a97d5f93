// Reads a text of any length line by line.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "hosting/FileDescriptor.h"

namespace recording {

// Whatever bytes the text holds. Ctrl-C ends the wait for a pipe (Interrupted).
class LineReader {
 public:
  static constexpr std::size_t kLongestLine = 65536;  // the rest of a longer line is passed over

  // `path` may be "-" for standard input. Throws UnusableInput: "FILE: cannot be read: REASON".
  explicit LineReader(std::string path);

  // The next line without its line feed, valid until the next call; false at the end.
  bool Next(std::string_view& line);

  // What to call the text in a message.
  std::string const& Name() const { return mName; }

 private:
  bool Fill();  // false at the end
  [[noreturn]] void Fail(int error) const;

  std::string mName;
  hosting::FileDescriptor mOwned;
  int mFile = 0;
  bool mMustWait = false;
  bool mAtEnd = false;
  bool mSkipsRest = false;  // of a line that was too long
  std::string mBuffer;
  std::size_t mStart = 0;  // of what was not handed out yet
};

}  // namespace recording
