// A host's class that overrides an operation is honoured wherever the library uses that operation itself.

#include "tests/support/PlayedDevice.h"

namespace {

class Overriding : public VeyraShadingUtil {
 public:
  bool RegisterSensorMonitor(int sensorId, int sensorType) override {
    calls += "Register ";
    return VeyraShadingUtil::RegisterSensorMonitor(sensorId, sensorType);
  }
  bool StartSensorMonitor(int, int) override {
    calls += "Start ";
    return true;
  }
  bool IsSupportSensor(int) override {
    calls += "IsSupport ";
    return true;
  }
  unsigned int QueryRollingShutter(int) override {
    calls += "QueryRollingShutter ";
    return 0;
  }

  std::string calls;
};

class Override : public PlayedDevice {};

TEST_F(Override, OperationsUseEachOtherThroughTheTable) {
  Overriding library;
  EXPECT_TRUE(library.RegisterAndStartSensorMonitor(77, 3));  // not in the configured map
  EXPECT_EQ(library.calls, "Register IsSupport Start ");

  library.calls.clear();
  CalcOISValueInput input = {};
  std::vector<double> x, y;
  int matched = 0;
  library.CalcOISValue(kShadingPreview, input, &x, &y, 1U, 77, matched);
  EXPECT_EQ(library.calls, "IsSupport QueryRollingShutter ");
}

}  // namespace
