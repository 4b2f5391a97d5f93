// A host outside of the tree that asks for calibration data: of the device in one directory, with the dump files of the
// built-in one, whose camera 1 has table 2, in another directory, which is empty.
#include <cstdio>
#include <string>

#include "lsc/VeyraShadingUtil.h"
#include "platform/desktop/BuiltInCalibration.h"
#include "platform/desktop/CalibrationMount.h"
#include "platform/desktop/DeviceFile.h"

int main(int count, char** arguments) {
  if (count != 3) return 2;
  std::string problem = desktop::WriteBuiltInCalibration(arguments[2]);
  if (problem.empty()) problem = desktop::MountCalibration(arguments[2]);
  if (!problem.empty()) {
    std::fprintf(stderr, "%s\n", problem.c_str());
    return 3;
  }
  desktop::DeviceSettings settings = desktop::LoadDevice(arguments[1]);
  settings.configuration = desktop::BuiltInDevice().configuration;
  desktop::Device::Get().Configure(settings);
  int table = 0;
  createInstance()->VeyraGetMultiTableIndex(table, 1 << 1);
  std::printf("table %d\n", table);
  return table == 2 ? 0 : 1;
}
