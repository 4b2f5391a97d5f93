// The dump files of the device, at the place where the library looks for them.
#pragma once

#include <string>

namespace shadingctl {

// A temporary directory with a unique name, deleted with its content at destruction.
class ScratchDirectory {
 public:
  ScratchDirectory();  // throws hosting::UnusableInput
  ~ScratchDirectory();
  ScratchDirectory(ScratchDirectory const&) = delete;
  ScratchDirectory& operator=(ScratchDirectory const&) = delete;

  std::string const& Path() const { return mPath; }

 private:
  std::string mPath;
};

// Lets the dump files in `deviceDirectory`/eeprom appear at the library's path, or those of the built-in device when
// the name is empty; `scratch` holds the latter and must live as long as they are read. A device directory without
// eeprom/ is a device without dump files. Called before the library is loaded and before any thread is started.
//
// Throws UnusableInput where neither root nor a namespace of its own is to be had.
void MountDumpFiles(std::string const& deviceDirectory, ScratchDirectory const& scratch);

}  // namespace shadingctl
