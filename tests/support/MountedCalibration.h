// The built-in cameras' calibration data, for tests that ask for them.
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <string>

#include "platform/desktop/BuiltInCalibration.h"
#include "platform/desktop/CalibrationMount.h"

// The built-in cameras' dump files where the library looks for them, while the object lives. Made before the first
// thread.
class MountedCalibration {
 public:
  MountedCalibration() {
    EXPECT_NE(mkdtemp(mDirectory.data()), nullptr);
    EXPECT_EQ(desktop::WriteBuiltInCalibration(mDirectory), "");
    EXPECT_EQ(desktop::MountCalibration(mDirectory), "") << "needs root or user namespaces";
  }
  ~MountedCalibration() { std::filesystem::remove_all(mDirectory); }
  MountedCalibration(MountedCalibration const&) = delete;
  MountedCalibration& operator=(MountedCalibration const&) = delete;

 private:
  std::string mDirectory = (std::filesystem::temp_directory_path() / "threadsXXXXXX").string();
};
