#include "tools/shadingctl/calibration/CalibrationFiles.h"

#include <fmt/format.h>
#include <stdlib.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "hosting/UnusableInput.h"
#include "platform/desktop/BuiltInCalibration.h"
#include "platform/desktop/CalibrationMount.h"

namespace shadingctl {

namespace fs = std::filesystem;

ScratchDirectory::ScratchDirectory() {
  std::error_code failure;
  fs::path const parent = fs::temp_directory_path(failure);
  if (failure) {
    char const* const directory = std::getenv("TMPDIR");
    throw hosting::UnusableInput(fmt::format("TMPDIR: expected a directory for temporary files, found {}: {}",
                                             directory == nullptr ? "/tmp" : directory, failure.message()));
  }
  mPath = (parent / "shadingctl-XXXXXX").string();
  if (mkdtemp(mPath.data()) == nullptr) {
    throw hosting::UnusableInput(fmt::format("{}: cannot be made: {}", mPath, std::generic_category().message(errno)));
  }
}

ScratchDirectory::~ScratchDirectory() {
  std::error_code ignored;
  fs::remove_all(mPath, ignored);
}

void MountDumpFiles(std::string const& deviceDirectory, ScratchDirectory const& scratch) {
  fs::path directory = scratch.Path();
  if (deviceDirectory.empty()) {
    if (auto const error = desktop::WriteBuiltInCalibration(scratch.Path()); !error.empty())
      throw hosting::UnusableInput(error);
  } else {
    std::error_code failure;
    fs::path const own = fs::path(deviceDirectory) / "eeprom";
    if (fs::exists(own, failure) || failure) directory = own;
  }
  if (auto const error = desktop::MountCalibration(directory.string()); !error.empty())
    throw hosting::UnusableInput(error);
}

}  // namespace shadingctl
