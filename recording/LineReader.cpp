#include "recording/LineReader.h"

#include <fmt/format.h>

#include <cerrno>
#include <cstring>
#include <new>
#include <utility>

#include "hosting/UnusableInput.h"

namespace recording {
namespace {

constexpr std::size_t kBlock = 65536;

}  // namespace

LineReader::LineReader(InputFile file) : mFile(std::move(file)), mBuffer(kBlock) {}

bool LineReader::Next(std::string_view& line) {
  for (std::size_t length = 0;;) {  // of the line, as far as it was searched
    char const* const begin = mBuffer.data() + mBegin;
    auto const* const feed = static_cast<char const*>(std::memchr(begin + length, '\n', mEnd - mBegin - length));
    length = feed != nullptr ? static_cast<std::size_t>(feed - begin) : mEnd - mBegin;
    if (length > kLongestLine) {
      throw hosting::UnusableInput(fmt::format("{}:{}: expected a line of at most {} bytes, found a longer one", Name(),
                                               mLine + 1, kLongestLine));
    }
    if (feed == nullptr && Fill()) continue;
    if (feed == nullptr && length == 0) return false;
    line = {mBuffer.data() + mBegin, length};
    mLineEnds = feed != nullptr;
    std::size_t const taken = length + (mLineEnds ? 1 : 0);
    mBegin += taken;
    mOffset = std::exchange(mNextOffset, mNextOffset + taken);
    ++mLine;
    return true;
  }
}

bool LineReader::Fill() {
  if (mAtEnd) return false;
  std::memmove(mBuffer.data(), mBuffer.data() + mBegin, mEnd - mBegin);
  mEnd -= std::exchange(mBegin, 0);
  try {
    if (mEnd == mBuffer.size()) mBuffer.resize(2 * mEnd);
  } catch (std::bad_alloc const&) {
    mFile.Fail(ENOMEM);
  }
  std::size_t const got = mFile.Read(mBuffer.data() + mEnd, mBuffer.size() - mEnd);
  mEnd += got;
  mAtEnd = got == 0;
  return !mAtEnd;
}

}  // namespace recording
