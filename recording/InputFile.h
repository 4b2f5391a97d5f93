// A file, a pipe or standard input from front to back: its bytes, and its lines.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

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

  // The first byte, which Read returns all the same; nullopt for an empty file. Requires: nothing was read yet.
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

// Reads a text line by line, whatever bytes it holds. Everything that cannot be read throws UnusableInput (InputFile),
// as does a line of more than kLongestLine bytes: "FILE:LINE: expected ..., found ...".
class LineReader {
 public:
  static constexpr std::size_t kLongestLine = std::size_t{1} << 20U;

  // `path` may be "-" for standard input.
  explicit LineReader(std::string path) : LineReader(InputFile(std::move(path))) {}
  explicit LineReader(InputFile file);

  // The next line without its line feed, valid until the next call; false at the end.
  bool Next(std::string_view& line);

  // What to call the text in a message.
  std::string const& Name() const { return mFile.Name(); }

  // Of the last line: its number, counted from 1, where it begins in the text, and whether a line feed ends it.
  std::uint64_t Line() const { return mLine; }
  std::uint64_t Offset() const { return mOffset; }
  bool LineEnds() const { return mLineEnds; }

 private:
  static constexpr std::size_t kBlock = 65536;  // the least that is read at a time

  bool Fill();  // false at the end

  InputFile mFile;
  std::vector<char> mBuffer;
  std::size_t mBegin = 0;  // of what was not handed out yet
  std::size_t mEnd = 0;    // of what was read
  bool mAtEnd = false;
  std::uint64_t mLine = 0;
  std::uint64_t mOffset = 0;
  std::uint64_t mNextOffset = 0;
  bool mLineEnds = true;
};

}  // namespace recording
