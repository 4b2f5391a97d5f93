// The built-in cameras' calibration data, for tests that ask for them.
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "platform/desktop/BuiltInCalibration.h"
#include "platform/desktop/CalibrationMount.h"

// Whether this system lets a process mount calibration data; tried in one of its own, so that this one stays as it is.
inline bool CanMountCalibration() {
  pid_t const child = fork();
  if (child == 0) _exit(desktop::MountCalibration("/tmp").empty() ? 0 : 1);
  int status = 1;
  return waitpid(child, &status, 0) == child && status == 0;
}

// The built-in cameras' dump files where the library looks for them, while the object lives. Made before the first
// thread. A test returns where it is skipped (IsSkipped), because this system has no mounts for it.
class MountedCalibration {
 public:
  MountedCalibration() {
    EXPECT_NE(mkdtemp(mDirectory.data()), nullptr);
    EXPECT_EQ(desktop::WriteBuiltInCalibration(mDirectory), "");
    Mount();
  }
  ~MountedCalibration() { std::filesystem::remove_all(mDirectory); }
  MountedCalibration(MountedCalibration const&) = delete;
  MountedCalibration& operator=(MountedCalibration const&) = delete;

 private:
  void Mount() const {
    std::string const refusal = desktop::MountCalibration(mDirectory);
    if (!refusal.empty()) GTEST_SKIP() << refusal;
  }

  std::string mDirectory = (std::filesystem::temp_directory_path() / "threadsXXXXXX").string();
};
