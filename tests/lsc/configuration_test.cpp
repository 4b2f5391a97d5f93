// What the constructor reads, and how cameras are named.

#include "lsc/SensorIndex.h"

#include "platform/desktop/Memory.h"
#include "tests/support/PlayedDevice.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Configuration : public PlayedDevice {
 protected:
  std::unique_ptr<VeyraShadingUtil> LibraryWithSensorMap(std::vector<std::int32_t> const& values) {
    auto settings = device.Settings();
    settings.configuration["FeatureOisCompensationSupport"]["sensorMaps"] = values;
    device.Configure(settings);
    return std::make_unique<VeyraShadingUtil>();
  }
};

TEST_F(Configuration, PropertiesAreReadInOrderWithTheirDefaults) {
  device.RecordCalls(true);
  VeyraShadingUtil const library;
  auto calls = device.TakeCalls();
  ASSERT_GE(calls.size(), 4U);
  calls.resize(4);
  EXPECT_THAT(calls, ElementsAre("property_get_int32 vendor.veyra.3a.lscutil.log 0",
                                 "property_get_int32 vendor.debug.preview.lsc.ois.dump 0",
                                 "property_get_int32 vendor.debug.capture.lsc.ois.dump 0",
                                 "property_get_int32 vendor.debug.ois.hall.calculation 1"));
  EXPECT_EQ(gLogLevel, 0);
  EXPECT_EQ(g_oisDebug, 1);

  auto settings = device.Settings();
  settings.properties = {{"vendor.veyra.3a.lscutil.log", -1},
                         {"vendor.debug.preview.lsc.ois.dump", 2},
                         {"vendor.debug.capture.lsc.ois.dump", 3},
                         {"vendor.debug.ois.hall.calculation", 4}};
  device.Configure(settings);
  VeyraShadingUtil const configured;
  EXPECT_THAT((std::vector<int>{gLogLevel, g_preOisDump, g_capOisDump, g_oisDebug}), ElementsAre(-1, 2, 3, 4));
}

TEST_F(Configuration, SensorMapIsReadAsPairsInOrder) {
  struct {
    std::vector<std::int32_t> values;
    std::vector<std::string> lines;
    std::vector<int> supported, unsupported;
  } const rows[] = {
      {{}, {}, {}, {0}},
      {{0, 1, 2}, {}, {}, {0, 2}},  // odd: not even its whole pairs
      {{0, 1, 2, 1},
       {"[VeyraShadingUtil] monitor sensorId: 0, sensorType: 1",
        "[VeyraShadingUtil] monitor sensorId: 2, sensorType: 1"},
       {0, 2},
       {1}},
      {{5, 1, 5, 2},
       {"[VeyraShadingUtil] monitor sensorId: 5, sensorType: 1",
        "[VeyraShadingUtil] monitor sensorId: 5, sensorType: 2"},
       {5},
       {1, 2}},
  };
  for (auto const& row : rows) {
    device.TakeLog();
    device.RecordCalls(true);
    auto const library = LibraryWithSensorMap(row.values);
    EXPECT_EQ(Logged(), row.lines);
    EXPECT_EQ(device.TakeCalls().size(), row.lines.empty() ? 5U : 6U)
        << "properties, the count and, if usable, the list";
    for (int const id : row.supported) EXPECT_TRUE(library->IsSupportSensor(id)) << id;
    for (int const id : row.unsupported) EXPECT_FALSE(library->IsSupportSensor(id)) << id;
  }
}

TEST_F(Configuration, ACountThatCannotBeTrustedLeavesTheMapEmpty) {
  device.ClaimValuesCount(4'000'000'000U);  // more than is stored: the list read fails, if there is memory at all
  EXPECT_FALSE(VeyraShadingUtil().IsSupportSensor(0));

  device.ClaimValuesCount(std::nullopt);
  device.SetFault(desktop::Fault::kFailedListRead, true);
  EXPECT_FALSE(VeyraShadingUtil().IsSupportSensor(0));
  device.SetFault(desktop::Fault::kFailedListRead, false);

  device.TakeLog();
  for (int const allocation : {1, 2}) {  // the list, then the map
    device.RecordCalls(true);
    desktop::FailAllocations(allocation);
    VeyraShadingUtil library;
    EXPECT_GE(desktop::FailedAllocations(), 1);
    desktop::FailAllocations(0);
    EXPECT_FALSE(library.IsSupportSensor(0));
    EXPECT_THAT(Logged(), IsEmpty());
  }
  EXPECT_TRUE(VeyraShadingUtil().IsSupportSensor(0));
}

TEST_F(Configuration, TheLowestBitOfAMaskNamesTheCamera) {
  struct {
    int mask, index;
    bool hasSlot;
  } const rows[] = {{1, 0, true},    {6, 1, true},       {12, 2, true},
                    {0x40, 6, true}, {0x2000, 13, true}, {0x4000, 14, false},
                    {0, -1, false},  {-1, 0, true},      {std::numeric_limits<int>::min(), 31, false}};
  for (auto const& row : rows) {
    EXPECT_EQ(SensorDevToIndex(row.mask), row.index) << row.mask;
    EXPECT_EQ(HasSensorSlot(SensorDevToIndex(row.mask)), row.hasSlot) << row.mask;
  }
}

}  // namespace
