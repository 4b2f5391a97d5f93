#include "tools/shadingctl/result/Spool.h"

#include <fmt/format.h>

#include <cerrno>
#include <system_error>

#include "hosting/UnusableInput.h"

namespace shadingctl {

Spool::Spool() : mFile(std::tmpfile(), &std::fclose) {
  if (mFile == nullptr) Fail();
}

void Spool::Fail() {
  throw hosting::UnusableInput(
      fmt::format("temporary file: cannot be used: {}", std::generic_category().message(errno)));
}

void Spool::Append(std::string_view record) {
  std::size_t const size = record.size();
  bool const isWritten =
      std::fwrite(&size, sizeof size, 1, mFile.get()) == 1 && std::fwrite(record.data(), 1, size, mFile.get()) == size;
  if (!isWritten) Fail();
}

bool Spool::Next(std::string& record) {
  if (!mIsRead && std::fseek(mFile.get(), 0, SEEK_SET) != 0) Fail();  // which writes out what is left
  mIsRead = true;
  std::size_t size = 0;
  if (std::fread(&size, sizeof size, 1, mFile.get()) != 1) {
    if (std::ferror(mFile.get()) != 0) Fail();
    return false;
  }
  record.resize(size);
  if (std::fread(record.data(), 1, size, mFile.get()) != size) Fail();
  return true;
}

}  // namespace shadingctl
