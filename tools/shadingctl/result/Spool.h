// Records that wait in a temporary file, so that any number of them takes no memory.
#pragma once

#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

namespace shadingctl {

// The file has no name and goes away with the object. Everything that fails throws UnusableInput.
class Spool {
 public:
  Spool();

  void Append(std::string_view record);

  // The records from the first one on; false at the end. Nothing may be appended afterwards.
  bool Next(std::string& record);

 private:
  [[noreturn]] static void Fail();

  std::unique_ptr<std::FILE, int (*)(std::FILE*)> mFile;
  bool mIsRead = false;
};

}  // namespace shadingctl
