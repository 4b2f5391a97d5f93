#include "platform/desktop/DeviceFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "platform/Properties.h"

namespace {

using desktop::Device;
using desktop::DeviceSettings;
using desktop::UnusableFile;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Pair;

std::string const kExample = REPOSITORY "/tests/desktop/example-device";

std::string Text(std::string const& file) {
  std::ostringstream text;
  text << std::ifstream(file).rdbuf();
  return text.str();
}

// A directory for one test; holds device.json with the given text.
class DeviceDirectory {
 public:
  explicit DeviceDirectory(std::string const& text) {
    std::string name = ::testing::TempDir() + "deviceXXXXXX";
    if (::mkdtemp(name.data()) == nullptr) std::abort();
    mPath = name;
    std::ofstream(mPath / "device.json") << text;
  }
  ~DeviceDirectory() { std::filesystem::remove_all(mPath); }
  DeviceDirectory(DeviceDirectory const&) = delete;
  DeviceDirectory& operator=(DeviceDirectory const&) = delete;

  std::string Path() const { return mPath.string(); }

 private:
  std::filesystem::path mPath;
};

// What LoadDevice says about the directory, without the path of the file in front.
std::string Complaint(std::string const& directory) {
  try {
    desktop::LoadDevice(directory);
  } catch (UnusableFile const& unusable) {
    std::string const text = unusable.what();
    std::string const file = directory + "/device.json";
    EXPECT_EQ(text.substr(0, file.size()), file);
    return text.substr(std::min(file.size(), text.size()));
  }
  return "none";
}

TEST(DeviceFile, ExampleIsReadWhole) {
  DeviceSettings const device = desktop::LoadDevice(kExample);
  EXPECT_THAT(device.properties,
              ElementsAre(Pair("vendor.debug.ois.hall.calculation", 2), Pair("vendor.veyra.3a.lscutil.log", 4)));
  EXPECT_THAT(device.configuration.at("FeatureShading"),
              ElementsAre(Pair("PNCCaliData[0]", ElementsAre(8192, 2341)), Pair("multiGolden[0]", ElementsAre(4096))));
  ASSERT_EQ(device.sensors.size(), 2U);
  EXPECT_EQ(device.sensors[0].calibrationRowOrder, 2);
  EXPECT_THAT(device.sensors[0].rollingShutterNs, ElementsAre(Pair(0, 15'980'096), Pair(1, 33'000'000)));
  EXPECT_EQ(device.sensors[1].sensorIndex, 2);
  EXPECT_TRUE(device.log.file);
  EXPECT_EQ(device.log.maximumLevel, 3);
}

TEST(DeviceFile, PageQuotesTheExample) {
  std::string const example = Text(kExample + "/device.json");
  ASSERT_FALSE(example.empty());
  EXPECT_THAT(Text(REPOSITORY "/docs/device-file.md"), HasSubstr("```json\n" + example + "```\n"));
}

TEST(DeviceFile, OutermostIntegersAreRead) {
  DeviceDirectory const directory(R"({"properties": {"low": -2147483648, "high": 2147483647}, "sensors": [
      {"sensorId": -2147483648, "sensorIndex": 0, "device": 4294967295, "rollingShutterNs": {"4294967295": 0}}]})");
  DeviceSettings const device = desktop::LoadDevice(directory.Path());
  EXPECT_EQ(device.properties.at("low"), -2147483647 - 1);
  EXPECT_EQ(device.properties.at("high"), 2147483647);
  EXPECT_EQ(device.sensors.at(0).device, 4294967295U);
  EXPECT_EQ(device.sensors.at(0).rollingShutterNs.count(4294967295U), 1U);
}

struct BrokenFile {
  char const* name;
  char const* text;
  char const* complaint;
};

void PrintTo(BrokenFile const& row, std::ostream* out) { *out << row.text; }

class BrokenDeviceFile : public ::testing::TestWithParam<BrokenFile> {};

TEST_P(BrokenDeviceFile, IsRefusedWithPlaceAndExpectation) {
  DeviceDirectory const directory(GetParam().text);
  EXPECT_EQ(Complaint(directory.Path()), GetParam().complaint);
}

INSTANTIATE_TEST_SUITE_P(
    Each, BrokenDeviceFile,
    ::testing::Values(
        BrokenFile{"Empty", "", ":1: expected JSON, found it broken at column 1"},
        BrokenFile{"NoComma", "{\n  \"log\": {}\n  \"sensors\": []\n}",
                   ":3: expected JSON, found it broken at column 11"},
        BrokenFile{"CutOff", "{\"log\":\n {", ":2: expected JSON, found it broken at column 3"},
        BrokenFile{"NoObject", "[]", ": /: expected an object, found []"},
        BrokenFile{"UnknownKey", R"({"sensor": []})",
                   ": /sensor: expected one of properties, configuration, sensors, log, found \"sensor\""},
        BrokenFile{"KeyTwice", R"({"sensors": [{}, {"device": 1, "x": {"device": 2}, "device": 2}]})",
                   ": /sensors/1/device: expected this key only once, found it again"},
        BrokenFile{"KeyNotGiven", R"({"sensors": [{"sensorId": 0, "sensorIndex": 0}]})",
                   ": /sensors/0: expected the key device, found {\"sensorId\":0,\"sensorIndex\":0}"},
        BrokenFile{"DeviceNegative", R"({"sensors": [{"device": -1}]})",
                   ": /sensors/0/device: expected an integer from 0 to 4294967295, found -1"},
        BrokenFile{"DeviceTooLarge", R"({"sensors": [{"device": 4294967296}]})",
                   ": /sensors/0/device: expected an integer from 0 to 4294967295, found 4294967296"},
        BrokenFile{
            "PropertyPast64Bits", R"({"properties": {"a/b": 18446744073709551615}})",
            ": /properties/a~1b: expected an integer from -2147483648 to 2147483647, found 18446744073709551615"},
        BrokenFile{"PropertyFraction", R"({"properties": {"p": 1.0}})",
                   ": /properties/p: expected an integer from -2147483648 to 2147483647, found 1.0"},
        BrokenFile{"ValueInList", R"({"configuration": {"F": {"k": [1, true]}}})",
                   ": /configuration/F/k/1: expected an integer from -2147483648 to 2147483647, found true"},
        BrokenFile{
            "ValueText", R"({"configuration": {"F": {"k": "1"}}})",
            ": /configuration/F/k: expected an integer from -2147483648 to 2147483647 or a list of them, found \"1\""},
        BrokenFile{"NumberBeyondADouble", R"({"sensors": [{}, {"device": 1e999}]})",
                   ": /sensors/1/device: expected a number that a double holds, found a larger one"},
        BrokenFile{"SensorsNoList", R"({"sensors": {}})", ": /sensors: expected a list, found {}"},
        BrokenFile{"SensorTwice", R"({"sensors": [{"sensorId": 5, "sensorIndex": 0, "device": 1}, {"sensorId": 5}]})",
                   ": /sensors/1/sensorId: expected a sensorId that no other sensor has, found 5"},
        BrokenFile{
            "ModeTwice", R"({"sensors": [{"rollingShutterNs": {"1": 5, "01": 6}}]})",
            ": /sensors/0/rollingShutterNs/01: expected a sensor mode from 0 to 4294967295 as the key, found \"01\""},
        BrokenFile{"LogLevel", R"({"log": {"maximumLevel": 6}})",
                   ": /log/maximumLevel: expected an integer from 0 to 5, found 6"},
        BrokenFile{"LogSwitch", R"({"log": {"file": 1}})", ": /log/file: expected true or false, found 1"}),
    [](auto const& row) { return row.param.name; });

TEST(DeviceFile, UnreadableFileIsRefusedWithTheReason) {
  DeviceDirectory const directory("{}");
  EXPECT_EQ(Complaint(directory.Path() + "/none"), ": cannot be read: No such file or directory");
  std::filesystem::remove(directory.Path() + "/device.json");
  std::filesystem::create_directory(directory.Path() + "/device.json");
  EXPECT_EQ(Complaint(directory.Path()), ": cannot be read: Is a directory");
}

// The device reads VCAM_DEVICE once in a process: each statement runs in a process of its own, in which nothing has
// asked the device before.
TEST(DeviceFile, EnvironmentNamesTheDevice) {
  ::testing::GTEST_FLAG(death_test_style) = "threadsafe";
  auto const property = [] { return NSCam::Utils::Properties::property_get_int32("vendor.veyra.3a.lscutil.log", -1); };
  ::setenv("VCAM_DEVICE", kExample.c_str(), 1);
  EXPECT_EXIT(std::_Exit(property() == 4 ? 0 : 1), ::testing::ExitedWithCode(0), "");
  ::setenv("VCAM_DEVICE", "/nowhere", 1);
  EXPECT_EXIT(property(), ::testing::ExitedWithCode(3),
              "VCAM_DEVICE: /nowhere/device.json: cannot be read: No such file or directory");
  ::setenv("VCAM_DEVICE", "", 1);
  EXPECT_EXIT(std::_Exit(property() == -1 && Device::Get().Settings().sensors.size() == 7 ? 0 : 1),
              ::testing::ExitedWithCode(0), "");
  ::unsetenv("VCAM_DEVICE");
}

}  // namespace
