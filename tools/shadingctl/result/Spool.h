// Records that wait in a temporary file, so that any number of them takes no memory.
#pragma once

#include <fmt/format.h>

#include <cerrno>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>

#include "hosting/UnusableInput.h"

namespace shadingctl {

// The file has no name and goes away with the object. Everything that fails throws UnusableInput.
class Spool {
 public:
  Spool() : mFile(std::tmpfile(), &std::fclose) {
    if (mFile == nullptr) Fail();
  }

  void Append(std::string_view record) {
    std::size_t const size = record.size();
    bool const isWritten = std::fwrite(&size, sizeof size, 1, mFile.get()) == 1 &&
                           std::fwrite(record.data(), 1, size, mFile.get()) == size;
    if (!isWritten) Fail();
  }

  // The records from the first one on; false at the end. Nothing may be appended afterwards.
  bool Next(std::string& record) {
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

 private:
  [[noreturn]] static void Fail() {
    throw hosting::UnusableInput(
        fmt::format("temporary file: cannot be used: {}", std::generic_category().message(errno)));
  }

  std::unique_ptr<std::FILE, int (*)(std::FILE*)> mFile;
  bool mIsRead = false;
};

}  // namespace shadingctl
