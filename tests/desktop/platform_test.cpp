#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <string>
#include <thread>
#include <vector>

#include "platform/HalSensor.h"
#include "platform/HwConfiguration.h"
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
  EXPECT_TRUE(provider->enableSensor(kType, 1));
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
  settings.configuration["F"] = {{"list", {7, 8, 9}}, {"empty", {}}};
  device.Configure(settings);
  EXPECT_EQ(GetKeyCount("F"), 2U);
  EXPECT_EQ(GetKeyCount("G"), 0U);
  EXPECT_EQ(GetValuesCount("F", "none"), 0U);
  int values[4] = {-1, -1, -1, -1};
  EXPECT_NE(GetIntegerConfiguration("F", "empty", values), 0);
  EXPECT_NE(GetIntegerConfiguration("G", "list", values), 0);
  EXPECT_NE(GetIntegerListConfiguration("F", "list", values, 4), 0);
  EXPECT_THAT(values, ElementsAre(-1, -1, -1, -1));
  EXPECT_EQ(GetIntegerListConfiguration("F", "list", values, 2), 0);
  EXPECT_THAT(values, ElementsAre(7, 8, -1, -1));
}

TEST_F(Platform, StaticInformationIsFilledWholeOrUntouched) {
  IHalSensorList* const list = IHalSensorList::get();
  SensorStaticInformation information = {};
  list->staticInformation(0x80, information);
  EXPECT_EQ(information.otherFacts[0], 0);
  list->staticInformation(list->sensorDevice(2), information);
  for (unsigned char const byte : information.otherFacts) ASSERT_NE(byte, 0);
  EXPECT_EQ(list->sensorIndex(7), -1);
  EXPECT_EQ(list->sensorDevice(-1), 0U);
}

TEST_F(Platform, DriverAnswersItsOwnCameraModeAndCommandOnly) {
  EXPECT_EQ(IHalSensorList::get()->openSensor("Test", 7), nullptr);
  IHalSensor* const sensor = IHalSensorList::get()->openSensor("Test", 0);
  struct {
    std::uint32_t device, mode, command, answerNs;
  } const rows[] = {{1, 0, kRollingShutterCommand, 15'980'096},
                    {1, 1, kRollingShutterCommand, 33'000'000},
                    {1, 2, kRollingShutterCommand, kUntouchedNs},
                    {4, 0, kRollingShutterCommand, kUntouchedNs},
                    {1, 0, 0x400E, kUntouchedNs}};
  for (auto row : rows) {
    std::uint32_t answerNs = kUntouchedNs;
    int const result = sensor->sendCommand(row.device, row.command, reinterpret_cast<std::uintptr_t>(&answerNs), 0,
                                           reinterpret_cast<std::uintptr_t>(&row.mode));
    EXPECT_EQ(answerNs, row.answerNs) << row.device << " " << row.mode;
    EXPECT_EQ(result == 0, answerNs != kUntouchedNs);
  }
  EXPECT_EQ(device.OpenSensorHandles(), 1);
  sensor->release("Test");
  EXPECT_EQ(device.OpenSensorHandles(), 0);
}

// The recorded lines of calls that the library's own tests do not check.
TEST_F(Platform, CallsLeaveTheirLinesWhileTheyAreRecorded) {
  auto const call = [] {
    GetKeyCount("F");
    GetValuesCount("F", "k");
    int value = 0;
    GetIntegerConfiguration("F", "k", &value);
    GetIntegerListConfiguration("F", "k", &value, 1);
    SensorStaticInformation information = {};
    IHalSensorList::get()->staticInformation(1, information);
    IHalSensorList::get()->staticInformation(1, information);  // holds the answer of the first call
    SensorProvider::createInstance("User");
    VCam::Utils::VLog::VLogger::isDefaultModeEnabled();
  };
  call();
  device.RecordCalls(true);
  call();
  device.RecordCalls(false);
  call();
  EXPECT_THAT(device.TakeCalls(),
              ElementsAre("GetKeyCount F", "GetValuesCount F k", "GetIntegerConfiguration F k",
                          "GetIntegerListConfiguration F k 1", "IHalSensorList::get", "staticInformation 1",
                          "IHalSensorList::get", "staticInformation 1 not cleared", "createInstance User",
                          "~SensorProvider User"));
}

}  // namespace
