#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <string>
#include <thread>
#include <vector>

#include "platform/HalSensor.h"
#include "platform/HwConfiguration.h"
#include "platform/Log.h"
#include "platform/Properties.h"
#include "platform/SensorProvider.h"
#include "platform/VLogger.h"
#include "platform/desktop/Device.h"

namespace {

using desktop::Device;
using desktop::DeviceSettings;
using desktop::Fault;
using NSCam::IHalSensor;
using NSCam::IHalSensorList;
using NSCam::SensorStaticInformation;
using NSCam::Utils::eSensorType;
using NSCam::Utils::SensorData;
using NSCam::Utils::SensorProvider;
using ::testing::ElementsAre;

constexpr auto kType = static_cast<eSensorType>(3);
constexpr std::uint32_t kRollingShutterCommand = 0x400F;
constexpr std::uint32_t kUntouchedNs = 77;

std::vector<SensorData> SamplesAt(std::vector<std::int64_t> const& timesNs) {
  std::vector<SensorData> samples(timesNs.size());
  for (std::size_t i = 0; i < timesNs.size(); ++i) samples[i].timestamp = timesNs[i];
  return samples;
}

std::vector<std::int64_t> PullTimesNs(SensorProvider& provider) {
  std::vector<SensorData> samples;
  provider.getAllSensorData(kType, samples);
  std::vector<std::int64_t> timesNs;
  for (SensorData const& sample : samples) timesNs.push_back(sample.timestamp);
  return timesNs;
}

// The driver's answer, through a handle that is given back; the value stays kUntouchedNs when the driver is silent.
std::uint32_t AskRollingShutterNs(int sensorId, std::uint32_t sensorDevice, std::uint32_t mode,
                                  std::uint32_t command = kRollingShutterCommand) {
  std::uint32_t answerNs = kUntouchedNs;
  IHalSensor* const sensor = IHalSensorList::get()->openSensor("Test", sensorId);
  int const result = sensor->sendCommand(sensorDevice, command, reinterpret_cast<std::uintptr_t>(&answerNs), 0,
                                         reinterpret_cast<std::uintptr_t>(&mode));
  sensor->release("Test");
  EXPECT_EQ(result == 0, answerNs != kUntouchedNs);
  return answerNs;
}

class Platform : public ::testing::Test {
 protected:
  void SetUp() override { device.Reset(); }

  Device& device = Device::Get();
};

TEST_F(Platform, SamplesAreHandedOutOnceInTheOrderOfDelivery) {
  device.QueueSamples("OIS_MONITOR-0-3", SamplesAt({30, 10}));
  auto const provider = SensorProvider::createInstance("OIS_MONITOR-0-3");
  auto const other = SensorProvider::createInstance("OIS_MONITOR-2-5");
  device.QueueSamples("OIS_MONITOR-0-3", SamplesAt({20}));
  EXPECT_THAT(PullTimesNs(*other), ElementsAre());
  EXPECT_THAT(PullTimesNs(*provider), ElementsAre(30, 10, 20));
  EXPECT_THAT(PullTimesNs(*provider), ElementsAre());
  device.SetFault(Fault::kRefusedEnable, true);  // a user whom the platform refused keeps pulling
  EXPECT_FALSE(provider->enableSensor(kType, 1));
  device.QueueSamples("OIS_MONITOR-0-3", SamplesAt({40}));
  EXPECT_THAT(PullTimesNs(*SensorProvider::createInstance("OIS_MONITOR-0-3")), ElementsAre(40));
  EXPECT_THAT(PullTimesNs(*provider), ElementsAre());
  device.QueueSamples("OIS_MONITOR-0-3", SamplesAt({50}));
  device.Reset();
  EXPECT_THAT(PullTimesNs(*provider), ElementsAre());
}

TEST_F(Platform, NoSampleIsLostOrDoubledBetweenTwoThreads) {
  constexpr std::int64_t kBatches = 2000;
  auto const provider = SensorProvider::createInstance("OIS_MONITOR-0-3");
  std::atomic<bool> done{false};
  std::thread host([&] {
    for (std::int64_t i = 0; i < kBatches; ++i) device.QueueSamples("OIS_MONITOR-0-3", SamplesAt({2 * i, 2 * i + 1}));
    done = true;
  });
  std::vector<std::int64_t> pulledNs;
  for (bool last = false; !last;) {
    last = done;
    for (std::int64_t const timeNs : PullTimesNs(*provider)) pulledNs.push_back(timeNs);
  }
  host.join();
  ASSERT_EQ(pulledNs.size(), 2U * kBatches);
  for (std::size_t i = 0; i < pulledNs.size(); ++i) ASSERT_EQ(pulledNs[i], static_cast<std::int64_t>(i));
}

TEST_F(Platform, ConfigurationAnswersWholeListsOrNothing) {
  DeviceSettings settings;
  settings.properties["set"] = -5;
  settings.configuration["F"] = {{"list", {7, 8, 9}}, {"empty", {}}};
  device.Configure(settings);
  EXPECT_EQ(NSCam::Utils::Properties::property_get_int32("set", 1), -5);
  EXPECT_EQ(NSCam::Utils::Properties::property_get_int32("unset", 1), 1);
  EXPECT_EQ(GetKeyCount("F"), 2U);
  EXPECT_EQ(GetKeyCount("G"), 0U);
  EXPECT_EQ(GetValuesCount("F", "list"), 3U);
  EXPECT_EQ(GetValuesCount("F", "none"), 0U);
  int values[4] = {-1, -1, -1, -1};
  EXPECT_EQ(GetIntegerConfiguration("F", "list", values), 0);
  EXPECT_THAT(values, ElementsAre(7, -1, -1, -1));
  EXPECT_NE(GetIntegerConfiguration("F", "empty", values), 0);
  EXPECT_NE(GetIntegerConfiguration("G", "list", values), 0);
  EXPECT_NE(GetIntegerListConfiguration("F", "list", values, 4), 0);
  EXPECT_THAT(values, ElementsAre(7, -1, -1, -1));
  EXPECT_EQ(GetIntegerListConfiguration("F", "list", values, 3), 0);
  EXPECT_THAT(values, ElementsAre(7, 8, 9, -1));
  device.ClaimValuesCount(4'000'000'000U);
  EXPECT_EQ(GetValuesCount("F", "list"), 4'000'000'000U);
  EXPECT_EQ(GetIntegerListConfiguration("F", "list", values, 4), -1);
  device.ClaimValuesCount(std::nullopt);
  EXPECT_EQ(GetValuesCount("F", "list"), 3U);
}

TEST_F(Platform, StaticInformationIsFilledWholeOrUntouched) {
  DeviceSettings settings = desktop::BuiltInDevice();
  settings.sensors[2].calibrationRowOrder = 2;
  device.Configure(settings);
  IHalSensorList* const list = IHalSensorList::get();
  SensorStaticInformation information = {};
  list->staticInformation(0x80, information);
  EXPECT_EQ(information.calibrationRowOrder, 0);
  EXPECT_EQ(information.otherFacts[0], 0);
  list->staticInformation(list->sensorDevice(2), information);
  EXPECT_EQ(information.calibrationRowOrder, 2);
  for (unsigned char const byte : information.otherFacts) ASSERT_NE(byte, 0);
  EXPECT_EQ(list->sensorIndex(7), -1);
  EXPECT_EQ(list->sensorDevice(-1), 0U);
}

TEST_F(Platform, DriverAnswersItsOwnModesThroughCountedHandles) {
  EXPECT_EQ(IHalSensorList::get()->openSensor("Test", 7), nullptr);
  IHalSensor* const open = IHalSensorList::get()->openSensor("Test", 0);
  EXPECT_EQ(AskRollingShutterNs(0, 1, 0), 15'980'096U);
  EXPECT_EQ(AskRollingShutterNs(0, 1, 1), 33'000'000U);
  EXPECT_EQ(AskRollingShutterNs(2, 4, 0), 20'000'000U);
  EXPECT_EQ(AskRollingShutterNs(6, 0x40, 0), 16'000'000U);
  EXPECT_EQ(AskRollingShutterNs(0, 1, 2), kUntouchedNs);
  EXPECT_EQ(AskRollingShutterNs(0, 4, 0), kUntouchedNs);
  EXPECT_EQ(AskRollingShutterNs(0, 1, 0, 0x400E), kUntouchedNs);
  device.SetRollingShutter(0, 2, 5);
  EXPECT_EQ(AskRollingShutterNs(0, 1, 2), 5U);
  EXPECT_EQ(device.OpenSensorHandles(), 1);
  open->release("Test");
  EXPECT_EQ(device.OpenSensorHandles(), 0);
}

// One answer for every fault, in their order.
TEST_F(Platform, EachFaultStopsItsOwnCallOnly) {
  auto const answers = [] {
    auto const provider = SensorProvider::createInstance("OIS_MONITOR-0-3");
    IHalSensorList* const list = IHalSensorList::get();
    IHalSensor* const sensor = list == nullptr ? nullptr : list->openSensor("Test", 0);
    if (sensor != nullptr) sensor->release("Test");
    int values[4] = {};
    return std::vector<bool>{
        provider != nullptr,
        provider == nullptr || provider->enableSensor(kType, 1),
        list != nullptr,
        list == nullptr || sensor != nullptr,
        sensor == nullptr || AskRollingShutterNs(0, 1, 0) == 15'980'096U,
        GetIntegerListConfiguration("FeatureOisCompensationSupport", "sensorMaps", values, 4) == 0};
  };
  for (std::size_t fault = 0; fault < desktop::kFaultCount; ++fault) {
    device.SetFault(static_cast<Fault>(fault), true);
    std::vector<bool> expected(desktop::kFaultCount, true);
    expected[fault] = false;
    EXPECT_EQ(answers(), expected) << fault;
    device.SetFault(static_cast<Fault>(fault), false);
  }
  device.SetFault(Fault::kNoProvider, true);
  device.Reset();
  EXPECT_EQ(answers(), std::vector<bool>(desktop::kFaultCount, true));
}

TEST_F(Platform, EveryCallLeavesItsLine) {
  auto const callAll = [] {
    NSCam::Utils::Properties::property_get_int32("vendor.veyra.3a.lscutil.log", 0);
    GetKeyCount("FeatureShading");
    GetValuesCount("FeatureShading", "multiGolden[0]");
    int values[2] = {};
    GetIntegerConfiguration("FeatureShading", "multiGolden[0]", values);
    GetIntegerListConfiguration("FeatureShading", "PNCCaliData[0]", values, 2);
    auto const provider = SensorProvider::createInstance("OIS_MONITOR-0-3");
    provider->enableSensor(kType, 1);
    PullTimesNs(*provider);
    provider->disableSensor(kType);
    IHalSensorList* const list = IHalSensorList::get();
    list->sensorIndex(0);
    list->sensorDevice(0);
    SensorStaticInformation information;
    list->staticInformation(1, information);
    AskRollingShutterNs(0, 1, 8);
    VCam::Utils::VLog::VLogger::isLogDetailsEnabled(128, VCam::Utils::VLog::kVLogInfo);
    VCam::Utils::VLog::VLogger::isDefaultModeEnabled();
    __android_log_print(4, "Tag", "text");
    VCam::Utils::VLog::VLogger::isFileModeEnabled();
    VCam::Utils::VLog::VLogger::logNormalDetails(128, "Tag", VCam::Utils::VLog::kVLogInfo, "text", 4);
  };
  std::string const asked = R"(property_get_int32 vendor.veyra.3a.lscutil.log 0
GetKeyCount FeatureShading
GetValuesCount FeatureShading multiGolden[0]
GetIntegerConfiguration FeatureShading multiGolden[0]
GetIntegerListConfiguration FeatureShading PNCCaliData[0] 2
createInstance OIS_MONITOR-0-3
enableSensor OIS_MONITOR-0-3 3 1
getAllSensorData OIS_MONITOR-0-3 3
disableSensor OIS_MONITOR-0-3 3
IHalSensorList::get
sensorIndex 0
sensorDevice 0
staticInformation 1
IHalSensorList::get
openSensor Test 0
sendCommand 1 0x400f 0 8
release Test
)";
  std::string const logging = R"(isLogDetailsEnabled 128 3
isDefaultModeEnabled
__android_log_print 4
isFileModeEnabled
logNormalDetails 128 3 4
)";
  auto const takeText = [&] {
    std::string text;
    for (std::string const& line : device.TakeCalls()) text += line + '\n';
    return text;
  };
  callAll();
  EXPECT_EQ(takeText(), "");
  device.RecordCalls(true);
  callAll();
  EXPECT_EQ(takeText(), asked);
  device.RecordCalls(true, true);
  callAll();
  device.RecordCalls(false);
  callAll();
  EXPECT_EQ(takeText(), asked + logging);
}

}  // namespace
