// Monitors and the operations that find them.

#include "tests/support/PlayedDevice.h"

namespace {

using desktop::Fault;
using testing::ElementsAre;
using testing::IsEmpty;

class Registry : public PlayedDevice {
 protected:
  Registry() {
    UseFileSinkOnly();
    device.RecordCalls(true);
  }

  // The platform calls since the last time.
  std::vector<std::string> Called() { return device.TakeCalls(); }

  std::unique_ptr<VeyraShadingUtil> library = NewLibrary(0);
};

TEST_F(Registry, AMonitorIsRegisteredStartedFedAndDestroyed) {
  library = NewLibrary(4);
  Called();
  EXPECT_TRUE(library->RegisterAndStartSensorMonitor(0, 3));
  EXPECT_THAT(Called(), ElementsAre("createInstance OIS_MONITOR-0-3", "enableSensor OIS_MONITOR-0-3 3 1"));
  EXPECT_THAT(Logged(), ElementsAre("[RegisterSensorMonitor] Register Sensor Monitor sensorId:0 sensorType:3",
                                    "[enableSensor]  enable sensor 3 ret:1",
                                    "[StartSensorMonitor] Enable Sensor Monitor sensorId:0 sensorType:3 ret:1"));

  EXPECT_TRUE(library->StartSensorMonitor(0, 3));
  EXPECT_THAT(Called(), IsEmpty()) << "the platform is asked once";
  Logged();

  library->UpdateSensorData(0, 1, 77);
  EXPECT_THAT(Logged(), ElementsAre("[updateSensorData] no sensor data for type 3"));
  device.QueueSamples("OIS_MONITOR-0-3", SamplesAt({300, 100, 200}));
  library->UpdateSensorData(0, 4'000'000'000U, 77);
  EXPECT_THAT(Called(), ElementsAre("getAllSensorData OIS_MONITOR-0-3 3", "getAllSensorData OIS_MONITOR-0-3 3"));
  EXPECT_THAT(Logged(),
              ElementsAre("[updateSensorData] update sensor data F:(4000000000) TS:(77) size:3, queue size:1, "
                          "timestamp interv:100 - 300"));

  Samples samples;
  library->QuerySensorData(samples, 0, 4'000'000'000U, 0);
  EXPECT_EQ(TimesOf(samples), (std::vector<std::int64_t>{100, 200, 300}));
  EXPECT_THAT(Logged(), ElementsAre("[getSensorData]  get sensor data F:(4000000000) TS:(0) data size:3",
                                    "[QuerySensorData]  get sensor data size:3"));
  library->QuerySensorData(samples, 0, 4'000'000'000U, 5);
  EXPECT_THAT(Logged(), ElementsAre("[getDataByTimestamp]  total data size:3", "[getDataByTimestamp] no data matched",
                                    "[getSensorData]  get sensor data F:(4000000000) TS:(5) data size:3",
                                    "[QuerySensorData]  get sensor data size:3"))
      << "a time goes before the frame number";

  library->StopSensorMonitor(0, 3);
  EXPECT_THAT(Called(), ElementsAre("disableSensor OIS_MONITOR-0-3 3", "~SensorProvider OIS_MONITOR-0-3"));
  EXPECT_THAT(Logged(), ElementsAre("[disableSensor]  disable sensor 3",
                                    "[StopSensorMonitor] Stop sensorId:0 sensorType:3, mSensorMonitors.size:0"));
  EXPECT_FALSE(library->StartSensorMonitor(0, 3));
  library->StopSensorMonitor(0, 3);
  library->UpdateSensorData(0, 1, 1);
  library->QuerySensorData(samples, 0, 1, 0);
  EXPECT_THAT(Logged(), ElementsAre("[StartSensorMonitor] Sensor Monitor not registered sensorId:0 sensorType:3",
                                    "[StopSensorMonitor] Sensor Monitor not registered sensorId:0 sensorType:3",
                                    "[UpdateSensorData] Sensor Monitor not registered sensorId:0",
                                    "[QuerySensorData] Sensor Monitor not registered sensorId:0"));
}

TEST_F(Registry, EachMessageIsWrittenOncePerSinkThatTakesIt) {
  struct {
    bool systemLog, file;
    int maximumLevel;
    std::size_t sinks;
  } const rows[] = {{true, true, 5, 2}, {true, false, 5, 1}, {false, false, 5, 0}, {true, true, 0, 0}};
  for (auto const& row : rows) {
    auto settings = device.Settings();
    settings.log = {row.systemLog, row.file, row.maximumLevel};
    device.Configure(settings);
    library = NewLibrary(0);
    Samples samples;
    library->StartSensorMonitor(0, 3);
    library->StopSensorMonitor(0, 3);
    library->UpdateSensorData(0, 1, 1);
    library->QuerySensorData(samples, 0, 1, 0);
    library->IsEnabled(0);
    library->RegisterSensorMonitor(0, 3);
    library->RegisterSensorMonitor(0, 9);
    EXPECT_EQ(Logged().size(), 7 * row.sinks) << row.sinks;
  }
}

TEST_F(Registry, RegistrationRefusesWhatIsNotConfiguredAndKeepsWhatMatchesInEither) {
  struct {
    int sensorId, sensorType;
    bool result;
    std::vector<std::string> lines;
  } const rows[] = {
      {-1, 3, false, {}},
      {0, -1, false, {}},
      {1, 3, false, {}},  // not in the map
      {0, 3, true, {"[RegisterSensorMonitor] Register Sensor Monitor sensorId:0 sensorType:3"}},
      {0, 3, true, {"[RegisterSensorMonitor] Sensor Monitor already registered sensorId:0 sensorType:3"}},
      {0, 9, true, {"[RegisterSensorMonitor] Sensor Monitor already registered sensorId:0 sensorType:3"}},
      {2, 3, true, {"[RegisterSensorMonitor] Sensor Monitor already registered sensorId:0 sensorType:3"}},
  };
  for (auto const& row : rows) {
    EXPECT_EQ(library->RegisterSensorMonitor(row.sensorId, row.sensorType), row.result);
    EXPECT_EQ(Logged(), row.lines) << row.sensorId << ", " << row.sensorType;
  }
  Called();
  EXPECT_FALSE(library->RegisterAndStartSensorMonitor(1, 3));
  EXPECT_THAT(Called(), IsEmpty());
  Logged();
  EXPECT_TRUE(library->StartSensorMonitor(2, 3));  // the monitor of sensor 0, by its type
  EXPECT_THAT(Called(), ElementsAre("createInstance OIS_MONITOR-0-3", "enableSensor OIS_MONITOR-0-3 3 1"));
  EXPECT_TRUE(library->StartSensorMonitor(0, 9));  // and by its sensorId
  library->StopSensorMonitor(0, 9);
  EXPECT_THAT(Logged(), ElementsAre("[StartSensorMonitor] Enable Sensor Monitor sensorId:2 sensorType:3 ret:1",
                                    "[StartSensorMonitor] Enable Sensor Monitor sensorId:0 sensorType:9 ret:1",
                                    "[StopSensorMonitor] Stop sensorId:0 sensorType:9, mSensorMonitors.size:0"))
      << "the numbers are those of the call";
}

TEST_F(Registry, IsEnabledAsksForARegisteredMonitorNotForAStartedOne) {
  library = NewLibrary(4);
  EXPECT_FALSE(library->IsEnabled(1));
  EXPECT_THAT(Logged(), IsEmpty());
  EXPECT_FALSE(library->IsEnabled(0));
  EXPECT_THAT(Logged(), ElementsAre("[IsEnabled] Sensor Monitor not registered sensorId:0"));
  library->RegisterSensorMonitor(0, 3);
  Logged();
  EXPECT_TRUE(library->IsEnabled(0));
  EXPECT_THAT(Logged(), ElementsAre("[IsEnabled] sensor:0 enabled"));

  Samples samples = SamplesAt({42});
  library->QuerySensorData(samples, 0, 1, 1);  // never started: no lines of the monitor's own
  EXPECT_THAT(Logged(), ElementsAre("[QuerySensorData]  get sensor data size:1"));
  library->UpdateSensorData(3, 1, 1);  // by sensorId only
  EXPECT_THAT(Logged(), ElementsAre("[UpdateSensorData] Sensor Monitor not registered sensorId:3"));
}

TEST_F(Registry, APlatformThatRefusesLeavesASilentOrARunningMonitor) {
  library = NewLibrary(1);
  Called();
  device.SetFault(Fault::kNoProvider, true);
  EXPECT_TRUE(library->RegisterAndStartSensorMonitor(0, 3));
  library->UpdateSensorData(0, 1, 1);
  EXPECT_THAT(Called(), ElementsAre("createInstance OIS_MONITOR-0-3"));
  library->StopSensorMonitor(0, 3);
  EXPECT_THAT(Called(), IsEmpty());
  EXPECT_THAT(Logged(), ElementsAre("[RegisterSensorMonitor] Register Sensor Monitor sensorId:0 sensorType:3",
                                    "[StartSensorMonitor] Enable Sensor Monitor sensorId:0 sensorType:3 ret:1",
                                    "[StopSensorMonitor] Stop sensorId:0 sensorType:3, mSensorMonitors.size:0"))
      << "the monitor itself is silent";

  library->RegisterAndStartSensorMonitor(0, 3);
  Logged();
  device.SetFault(Fault::kNoProvider, false);
  device.SetFault(Fault::kRefusedEnable, true);
  EXPECT_FALSE(library->StartSensorMonitor(0, 3)) << "the provider is asked for again";
  EXPECT_THAT(Logged(), ElementsAre("[enableSensor]  enable sensor 3 ret:0",
                                    "[StartSensorMonitor] Enable Sensor Monitor sensorId:0 sensorType:3 ret:0"));
  EXPECT_TRUE(library->StartSensorMonitor(0, 3)) << "it counts as started";
  Called();
  library->UpdateSensorData(0, 1, 1);
  EXPECT_THAT(Called(), ElementsAre("getAllSensorData OIS_MONITOR-0-3 3"));
  library->StopSensorMonitor(0, 3);
  EXPECT_FALSE(library->RegisterAndStartSensorMonitor(0, 3));
}

TEST_F(Registry, StartingEmptiesTheHistoryAndAQueryOfNothingWarns) {
  library->RegisterAndStartSensorMonitor(0, 3);
  device.QueueSamples("OIS_MONITOR-0-3", SamplesAt({100}));
  library->UpdateSensorData(0, 7, 1);
  library->StopSensorMonitor(0, 3);
  library->RegisterAndStartSensorMonitor(0, 3);
  Samples samples = SamplesAt({42});
  library->QuerySensorData(samples, 0, 7, 0);
  EXPECT_EQ(TimesOf(samples), std::vector<std::int64_t>{42});
  Logged();
  library->QuerySensorData(samples, 0, 0, 0);
  EXPECT_THAT(Logged(), ElementsAre("[getSensorData] timestamp or frameNumber should not be zero"));
}

TEST_F(Registry, AMonitorAloneCopiesWhatItFindsAndElseLeavesTheOutput) {
  VeyraShadingUtil::VeyraSensorMonitor monitor(0, 3);
  monitor.enableSensor();
  device.QueueSamples("OIS_MONITOR-0-3", SamplesAt({100, 200}));
  monitor.updateSensorData(7, 1);
  gLogLevel = 1;
  Samples samples;
  for (unsigned int const frameNumber : {7U, 8U}) {
    monitor.getSensorData(samples, frameNumber, 0);
    EXPECT_EQ(TimesOf(samples), (std::vector<std::int64_t>{100, 200})) << frameNumber;
  }
  EXPECT_THAT(Logged(), ElementsAre("[getSensorData]  get sensor data F:(7) TS:(0) data size:2",
                                    "[getSensorData]  get sensor data F:(8) TS:(0) data size:2"));
}

TEST_F(Registry, AStopEndsItsOwnSensorAndDestructionTheOthersLastRegisteredFirst) {
  library->RegisterAndStartSensorMonitor(0, 3);
  library->RegisterAndStartSensorMonitor(2, 5);
  Called();
  library->StopSensorMonitor(2, 5);
  EXPECT_THAT(Called(), ElementsAre("disableSensor OIS_MONITOR-2-5 5", "~SensorProvider OIS_MONITOR-2-5"));
  EXPECT_TRUE(library->IsEnabled(0));
  EXPECT_FALSE(library->IsEnabled(2));
  library->RegisterAndStartSensorMonitor(2, 5);
  Called();
  library.reset();
  EXPECT_THAT(Called(), ElementsAre("disableSensor OIS_MONITOR-2-5 5", "~SensorProvider OIS_MONITOR-2-5",
                                    "disableSensor OIS_MONITOR-0-3 3", "~SensorProvider OIS_MONITOR-0-3"));
}

TEST_F(Registry, RollingShutterIsAskedOfTheDriverAndKeptInTheMonitor) {
  library = NewLibrary(1);
  device.SetRollingShutter(0, 6, 20'000'000);
  device.SetRollingShutter(0, 7, 33'000'000);
  Called();
  EXPECT_EQ(library->StoreRollingShutter(0, 6), 20'000'000U);  // without a monitor it is lost
  EXPECT_THAT(Called(),
              ElementsAre("IHalSensorList::get", "sensorIndex 0", "sensorDevice 0", "openSensor VeyraShadingUtil 0",
                          "sendCommand 1 0x400f 0 6", "release VeyraShadingUtil"));
  EXPECT_EQ(library->QueryRollingShutter(0), 0U);
  EXPECT_THAT(Logged(), IsEmpty());

  library->RegisterSensorMonitor(0, 3);
  Logged();
  EXPECT_EQ(library->QueryRollingShutter(0), 0U);
  EXPECT_EQ(library->StoreRollingShutter(0, 6), 20'000'000U);
  EXPECT_EQ(library->StoreRollingShutter(0, 7), 33'000'000U);
  EXPECT_EQ(library->QueryRollingShutter(0), 33'000'000U);
  EXPECT_THAT(Logged(), ElementsAre("[QueryRollingShutter] query rolling shutter:0",
                                    "[StoreRollingShutter] rolling shutter:20000000 sensorMode:6",
                                    "[StoreRollingShutter] rolling shutter:33000000 sensorMode:7",
                                    "[QueryRollingShutter] query rolling shutter:33000000"));

  auto settings = device.Settings();
  settings.sensors[0].answeredMode = {{6, 77}};
  settings.sensors[0].sensorIndex = 2;
  settings.sensors[2].sensorIndex = 0;
  settings.sensors[0].device = 0x40;
  device.Configure(settings);
  Called();
  EXPECT_EQ(library->StoreRollingShutter(0, 6), 20'000'000U);
  EXPECT_THAT(Logged(), ElementsAre("[StoreRollingShutter] rolling shutter:20000000 sensorMode:77"))
      << "the mode that the driver answered for";
  EXPECT_THAT(Called(),
              ElementsAre("IHalSensorList::get", "sensorIndex 0", "sensorDevice 2", "openSensor VeyraShadingUtil 0",
                          "sendCommand 64 0x400f 0 6", "release VeyraShadingUtil"))
      << "the device by the sensor index, the handle by the sensorId";

  for (Fault const fault : {Fault::kNoSensorList, Fault::kNoSensorHandle, Fault::kSilentDriver}) {
    library->StoreRollingShutter(0, 7);
    device.SetFault(fault, true);
    EXPECT_EQ(library->StoreRollingShutter(0, 6), 0U);
    EXPECT_EQ(library->QueryRollingShutter(0), 0U) << "no answer is stored as 0";
    device.SetFault(fault, false);
  }
  EXPECT_EQ(device.OpenSensorHandles(), 0);
}

}  // namespace
