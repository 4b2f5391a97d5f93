// Where a result goes: a file that is made anew, or standard output.
#pragma once

#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

namespace shadingctl {

// Everything that fails (no such directory, a full disk) throws UnusableInput: "FILE: cannot be written: REASON".
class OutputFile {
 public:
  // Standard output.
  OutputFile();
  // Makes the file, or empties it.
  explicit OutputFile(std::string const& path);

  void Write(std::string_view text);
  // The same where nothing may be thrown: a failure is kept for Finish.
  void WriteQuietly(std::string_view text) noexcept;
  // Hands everything to the system; a result is complete only after this.
  void Finish();

 private:
  [[noreturn]] void Fail(int error) const;

  std::string mName;
  int mKeptError = 0;
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> mFile;
};

}  // namespace shadingctl
