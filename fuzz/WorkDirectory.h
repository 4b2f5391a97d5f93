// A directory below TMPDIR for the files of this process, removed when it ends. A process that a fault stops leaves it
// behind; the scripts that run the targets set TMPDIR to a directory that they remove themselves.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

#include "fuzz/Target.h"

namespace fuzz {

class WorkDirectory {
 public:
  WorkDirectory() {
    if (mkdtemp(mPath.data()) == nullptr) Fail(mPath + ": no such directory can be made");
  }
  ~WorkDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(mPath, ignored);
  }
  WorkDirectory(WorkDirectory const&) = delete;
  WorkDirectory& operator=(WorkDirectory const&) = delete;

  std::string const& Path() const { return mPath; }

 private:
  std::string mPath = (std::filesystem::temp_directory_path() / "fuzz-XXXXXX").string();
};

}  // namespace fuzz
