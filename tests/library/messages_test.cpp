// Every message of the library, through both sinks: one row each, in one session of a host that comes by all of them.
// The process has one object, so this is one test from its construction on.

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <set>
#include <string>

#include "platform/desktop/CalibrationMount.h"
#include "platform/desktop/Device.h"
#include "tests/library/HostView.h"

namespace {

namespace fs = std::filesystem;
using desktop::LogMessage;
using Samples = std::vector<NSCam::Utils::SensorData>;

struct Kind {
  int level;      // for the file sink
  int priority;   // for the system log
  bool hasLine;   // "(%4d) " before the text
  bool hasPlace;  // " (%s){#%d:%s}" after the system log's text
};
constexpr Kind kError = {1, 6, true, true};
constexpr Kind kWarning = {2, 5, false, true};
constexpr Kind kInfo = {3, 4, false, false};
constexpr Kind kDebug = {5, 3, false, false};

struct Row {
  Kind kind;
  char const* text;  // without line and place
};

Row const kRows[] = {
    {kInfo, "[VeyraShadingUtil] monitor sensorId: 12, sensorType: 9"},

    {kInfo, "[RegisterSensorMonitor] Register Sensor Monitor sensorId:7 sensorType:5"},
    {kWarning, "[RegisterSensorMonitor] Sensor Monitor already registered sensorId:7 sensorType:5"},
    {kWarning, "[StartSensorMonitor] Sensor Monitor not registered sensorId:3 sensorType:4"},
    {kInfo, "[StartSensorMonitor] Enable Sensor Monitor sensorId:12 sensorType:5 ret:1"},
    {kWarning, "[StopSensorMonitor] Sensor Monitor not registered sensorId:3 sensorType:4"},
    {kInfo, "[StopSensorMonitor] Stop sensorId:12 sensorType:5, mSensorMonitors.size:1"},
    {kWarning, "[UpdateSensorData] Sensor Monitor not registered sensorId:12"},
    {kWarning, "[QuerySensorData] Sensor Monitor not registered sensorId:12"},
    {kInfo, "[QuerySensorData]  get sensor data size:100"},
    {kWarning, "[IsEnabled] Sensor Monitor not registered sensorId:12"},
    {kInfo, "[IsEnabled] sensor:7 enabled"},
    {kInfo, "[StoreRollingShutter] rolling shutter:20000000 sensorMode:2"},
    {kInfo, "[QueryRollingShutter] query rolling shutter:20000000"},

    {kInfo, "[enableSensor]  enable sensor 5 ret:1"},
    {kInfo, "[disableSensor]  disable sensor 5"},
    {kWarning, "[updateSensorData] no sensor data for type 5"},
    {kInfo,
     "[updateSensorData] update sensor data F:(4000000032) TS:(78) size:41, queue size:2, "
     "timestamp interv:999993402000 - 1000033402000"},
    {kWarning, "[getSensorData] timestamp or frameNumber should not be zero"},
    {kInfo, "[getSensorData]  get sensor data F:(0) TS:(1000000300000) data size:100"},
    {kInfo, "[pushValue]  split data frameNumber: -294967264 lastData:60 data:41 splitTime:999993152000"},
    {kInfo, "[getDataByTimestamp]  total data size:101"},
    {kWarning, "[getDataByTimestamp] no data matched"},
    {kInfo, "[getDataByTimestamp] match data offset:67 timestamp:1000000402000"},

    {kWarning, "[CalcOISValue] Unknown type 3"},
    {kInfo,
     "[CalcOISValue] camera_id = 7, type = 6, oisCount = 100, sof_timestamp = 999990300, exposure_time = 10000, "
     "shutter_time = 20000, timeDiff = -5598"},
    {kInfo,
     "[CalcOISValue] get source ois data index = 1, timestamp = 999936402, oisHall_x = 1.000000, "
     "oisHall_y = -0.500000"},
    {kInfo, "[CalcOISValue] activeNum:100"},
    {kInfo, "[CalcOISValue] startIndex, index = 1, timestamp Difference = 48300"},
    {kInfo, "[CalcOISValue] stamp_up = 1300, i = 48, stamp_down = 300, i+1 = 49"},
    {kInfo, "[CalcOISValue] endIndex, i = 49, timestamp Difference = 20000"},
    {kInfo, "[CalcOISValue] startIndex = 49, endIndex = 70"},
    {kInfo,
     "[CalcOISValue] Match OIS data fail, transfer the last ois data to tsf. type = 6, frame_id =-1294967296, "
     "sof_timestamp = 999990300,                 camera_id = 7, out_frame_ois_size(3, 2)"},
    {kInfo,
     "[CalcOISValue] Match OIS data, sof_timestamp = 999990300, activeNum = 22, hall = (25.000000, -12.500000), "
     "timestamp = 999990000"},
    {kInfo,
     "[CalcOISValue] camera_id = 7, frame_id = -1294967296, g_oisDebug = 0, out_frame_ois_size(3, 2), "
     "out_frame_ois0(x = 1.500000, y=4.500000), out_frame_ois1(x = 3.500000, y=5.500000)"},
    {kWarning, "[CalcOISValue] camera_id = 7, frame_id = -1294967296, g_oisDebug = 0, out_frame_ois_size(3, 0)"},

    {kError, "[VeyraGetMultiTableIndex] Error opening file."},
    {kDebug, "[VeyraGetMultiTableIndex] multi_tbl_idx:5 otpValid:1 gradient:-12 flag:-56 flag_f:171"},
    {kError, "[VeyraGetPNCCaliData] [VeyraGetPNCCaliData] no match CameraHWConfiguration.config Shading\n"},
    {kError, "[VeyraGetPNCCaliData] Error opening file."},
    {kDebug, "[VeyraGetPNCCaliData] otpValid 0xab"},
    {kDebug, "[VeyraGetPNCCaliData] [0]:0xdcba, [END]:0xfedcba98 "},
    {kDebug, "[VeyraSwapPNCCaliData] dataLen:2344"},
};

// Sensor map (7, 4), (12, 9); calibration files of sensor indices 0, valid and mirrored, and 1, invalid.
void Configure(fs::path const& calibration) {
  desktop::DeviceSettings settings = desktop::BuiltInDevice();
  settings.configuration = {{"FeatureOisCompensationSupport", {{"sensorMaps", {7, 4, 12, 9}}}},
                            {"FeatureShading",
                             {{"multiGolden[0]", {16}},
                              {"multiGolden[2]", {0}},
                              {"PNCCaliData[0]", {100, 2345}},
                              {"PNCCaliData[1]", {0, 5}},
                              {"PNCCaliData[2]", {0, 5}}}}};
  settings.properties["vendor.veyra.3a.lscutil.log"] = 4;
  settings.sensors[0].calibrationRowOrder = 2;
  settings.sensors.push_back({7, 7, 0x80, {{2, 20'000'000}, {3, 0}}});
  settings.log = {true, true, 5};
  desktop::Device::Get().Configure(settings);

  std::string rear(100 + 2345, '\0');
  rear.replace(16, 11, std::string("\1\0\0\0\0\x0C\xC8\0\0\0\xAB", 11));
  rear.replace(100, 4, "\xBA\xDC\x11\x11");             // the mirror replaces the second value by 0
  rear.replace(100 + 2340, 5, "\x98\xBA\xDC\xFE\x01");  // past the mirrored rows; the valid byte
  std::ofstream(calibration / "rear_camera_eeprom_data.bin") << rear;
  std::ofstream(calibration / "front_camera_eeprom_data.bin") << "\1\1\1\1\xAB";
}

// Samples 1 ms apart, number i at 999'934'402 + 1000 i us with the position (i / 2, -i / 4), in two batches: 0 to 59,
// then 60 to 99 with one more half a millisecond before number 59, which cuts the first batch before its last sample.
void DeliverAndUpdate(ShadingTable& shading) {
  Samples samples(100);
  for (std::size_t i = 0; i < samples.size(); ++i) {
    samples[i].timestamp = 999'934'402'000 + static_cast<std::int64_t>(i) * 1'000'000;
    samples[i].oisHallX = static_cast<float>(i) / 2;
    samples[i].oisHallY = -static_cast<float>(i) / 4;
  }
  auto& device = desktop::Device::Get();
  device.QueueSamples("OIS_MONITOR-7-5", Samples(samples.begin(), samples.begin() + 60));
  shading.Update(7, 4'000'000'031U, 77);
  NSCam::Utils::SensorData between;
  between.timestamp = 999'992'902'000;
  device.QueueSamples("OIS_MONITOR-7-5", {between});
  device.QueueSamples("OIS_MONITOR-7-5", Samples(samples.begin() + 60, samples.end()));
  shading.Update(7, 4'000'000'032U, 78);
}

// The window begins with sample 1. The frame begins 300 us after sample 50, entry 49 of the window, and its readout
// ends with sample 70, entry 70 because of the one in between.
void Calculate(SharedObject const& library, ShadingTable& shading) {
  constexpr std::uint64_t kTimestampNs = 1'000'000'300'000;
  FrameInput input = {{0, 0, kTimestampNs}, {0, 0, 10'000'000}};
  std::vector<double> x, y;
  auto const calculate = [&](int type, int camera, std::size_t sizeOfY) {
    int matched = 0;
    x = {1.5, 2.5, 3.5};
    y = {4.5, 5.5};
    y.resize(sizeOfY);
    shading.Calc(type, input, &x, &y, 3'000'000'000U, camera, matched);
  };
  calculate(6, 12, 2);  // without a monitor
  calculate(3, 7, 2);   // of an unknown type
  calculate(6, 7, 2);
  *library.Find<int*>("g_oisDebug") = 0;  // matches, but reduces nothing
  calculate(6, 7, 2);
  calculate(6, 7, 0);
  shading.StoreRollingShutter(7, 3);  // no time, no span
  calculate(6, 7, 2);
  input.timestampNs[2] = 2 * kTimestampNs;  // later than every sample
  calculate(6, 7, 2);
}

void AskCalibration(ShadingTable& shading) {
  std::vector<unsigned char> out(2344);
  int index = 0;
  for (int const mask : {1, 2, 4}) {
    shading.MultiTableIndex(index, mask);
    shading.PncCalibration(out.data(), mask);
  }
  desktop::Device::Get().SetFault(desktop::Fault::kNoFeature, true);
  shading.PncCalibration(out.data(), 1);
}

void PlaySession(SharedObject const& library) {
  ShadingTable& shading = *library.Create();
  Samples none;
  shading.Start(3, 4);
  shading.Stop(3, 4);
  shading.Register(7, 5);
  shading.Register(12, 5);  // of a type that is registered already
  shading.Start(12, 5);     // found by its type
  shading.Update(12, 1, 1);
  library.Find<void (*)(ShadingTable*, Samples&, int, unsigned int, unsigned long)>(kQuerySensorData)(&shading, none,
                                                                                                      12, 1, 1);
  shading.Update(7, 1, 1);  // without samples
  shading.StoreRollingShutter(7, 2);
  DeliverAndUpdate(shading);
  Calculate(library, shading);
  shading.Register(12, 8);
  shading.Stop(12, 5);  // the first that matches: (7, 5)
  AskCalibration(shading);
}

// Where in lsc/ a message is written.
std::size_t CountMessageSites() {
  std::regex const site(R"(\bLSC_LOG[EWID]\w*\()");
  std::size_t count = 0;
  for (auto const& entry : fs::recursive_directory_iterator(SOURCE_DIRECTORY "/lsc")) {
    if (!entry.is_regular_file() || entry.path().filename() == "Log.h") continue;
    std::ifstream file(entry.path());
    std::string const text{std::istreambuf_iterator<char>(file), {}};
    count += static_cast<std::size_t>(std::distance(std::sregex_iterator(text.begin(), text.end(), site), {}));
  }
  return count;
}

// With # in place of every number, so that the messages of one site are alike.
std::string WithoutNumbers(std::string const& text) {
  static std::regex const number(R"(-?(0x[0-9a-f]+|[0-9]+(\.[0-9]+)?))");
  return std::regex_replace(text, number, "#");
}

// Whether the pair is the row's message; then both must be exactly as specified.
bool CheckPair(Row const& row, LogMessage const& system, LogMessage const& file) {
  if (file.text.find(row.text) == std::string::npos) return false;
  std::string expectedFile = row.text;
  std::string expectedSystem = row.text;
  if (row.kind.hasPlace) {
    std::string const function = expectedFile.substr(1, expectedFile.find(']') - 1);
    static std::regex const place(
        R"(\{#([0-9]+):hardware/camera/mtkcam/mtkcam-custom/aaa/aaa/lsc/VeyraShadingUtil/[A-Za-z/]+\.cpp\}$)");
    std::smatch found;
    EXPECT_TRUE(std::regex_search(system.text, found, place)) << system.text;
    std::string const line = found.str(1);
    std::string const before =
        row.kind.hasLine ? "(" + std::string(4 - std::min<std::size_t>(line.size(), 4), ' ') + line + ") " : "";
    expectedFile = before + row.text;
    expectedSystem = before + row.text + " (" + function + ")" + found.str();
  }
  EXPECT_EQ(file.text, expectedFile);
  EXPECT_EQ(system.text, expectedSystem);
  EXPECT_EQ(file.level, row.kind.level) << row.text;
  EXPECT_EQ(system.level, row.kind.priority) << row.text;
  EXPECT_EQ(file.module, 128U) << row.text;
  return true;
}

TEST(Messages, EachReachesBothSinksWithItsTextAndLevel) {
  std::string directory = (fs::temp_directory_path() / "messagesXXXXXX").string();
  ASSERT_NE(mkdtemp(directory.data()), nullptr);
  ASSERT_EQ(desktop::MountCalibration(directory), "") << "needs root or user namespaces";
  Configure(directory);
  auto& device = desktop::Device::Get();
  device.RecordLog(true);
  PlaySession(SharedObject());
  auto const messages = device.TakeLog();
  fs::remove_all(directory);

  ASSERT_EQ(messages.size() % 2, 0U);
  std::set<std::string> sites;
  std::set<char const*> found;
  for (std::size_t i = 0; i < messages.size(); i += 2) {
    LogMessage const& system = messages[i];
    LogMessage const& file = messages[i + 1];
    ASSERT_EQ(system.sink, desktop::Sink::kSystemLog) << system.text;
    ASSERT_EQ(file.sink, desktop::Sink::kFile) << file.text;
    EXPECT_EQ(system.tag, "VeyraShadingUtil");
    EXPECT_EQ(file.tag, "VeyraShadingUtil");
    sites.insert(WithoutNumbers(file.text));
    for (Row const& row : kRows) {
      if (CheckPair(row, system, file)) found.insert(row.text);
    }
  }
  for (Row const& row : kRows) EXPECT_EQ(found.count(row.text), 1U) << row.text;
  EXPECT_EQ(sites.size(), std::size(kRows)) << "a message without a row";
  EXPECT_EQ(CountMessageSites(), std::size(kRows)) << "a message that the session does not come by";
}

}  // namespace
