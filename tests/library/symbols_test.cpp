// The exports and the dependencies of the built library, as the tool chain reports them.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <regex>
#include <string>
#include <vector>

namespace {

using testing::UnorderedElementsAre;
using testing::UnorderedElementsAreArray;

// The first group of every line of the command's output that matches.
std::vector<std::string> Lines(std::string const& command, char const* expression) {
  std::vector<std::string> found;
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> const pipe(popen(command.c_str(), "r"), pclose);
  std::regex const pattern(expression);
  char line[1024];
  while (pipe && std::fgets(line, sizeof line, pipe.get()) != nullptr) {
    std::smatch match;
    std::string text = line;
    text.erase(text.find_last_not_of('\n') + 1);
    if (std::regex_match(text, match, pattern)) found.push_back(match[1]);
  }
  return found;
}

TEST(Library, ExportsExactlyItsInterface) {
  std::string const samples = "_ZN16VeyraShadingUtil15VeyraSensorData";
  std::string const monitor = "_ZN16VeyraShadingUtil18VeyraSensorMonitor";
  std::string const util = "_ZN16VeyraShadingUtil";
  std::string const record = "St6vectorIN5NSCam5Utils10SensorDataESaI";
  EXPECT_THAT(Lines("nm -D --defined-only '" LIBRARY_FILE "'", "[0-9a-f]+ . ([^@]*)"),
              UnorderedElementsAreArray(
                  {std::string("createInstance"),
                   std::string("gLogLevel"),
                   std::string("g_oisDebug"),
                   std::string("g_preOisDump"),
                   std::string("g_capOisDump"),
                   std::string("_ZTV16VeyraShadingUtil"),
                   util + "C1Ev",
                   util + "C2Ev",
                   util + "15mSingleInstanceE",
                   util + "12mSingleMutexE",
                   util + "23VeyraGetMultiTableIndexERii",
                   util + "19VeyraGetPNCCaliDataEPvi",
                   util + "20VeyraSwapPNCCaliDataEPci",
                   util + "29RegisterAndStartSensorMonitorEii",
                   util + "21RegisterSensorMonitorEii",
                   util + "18StartSensorMonitorEii",
                   util + "17StopSensorMonitorEii",
                   util + "16UpdateSensorDataEijm",
                   util + "15QuerySensorDataER" + record + "S3_EEijm",
                   util + "9IsEnabledEi",
                   util + "19StoreRollingShutterEij",
                   util + "19QueryRollingShutterEi",
                   util + "15IsSupportSensorEi",
                   util + "12CalcOISValueE15CustShadingTypeR17CalcOISValueInputPSt6vectorIdSaIdEES6_RKjRKiRi",
                   samples + "9pushValueEjR" + record + "S4_EE",
                   samples + "14getDataByFrameEjR" + record + "S4_EE",
                   samples + "18getDataByTimestampEmR" + record + "S4_EE",
                   monitor + "12enableSensorEv",
                   monitor + "13disableSensorEv",
                   monitor + "16updateSensorDataEjm",
                   monitor + "13getSensorDataER" + record + "S4_EEjm"}));
}

TEST(Library, NeedsThePlatformAndTheRunTimeByTheirNames) {
  std::vector<std::string> needed = {"liblog.so",
                                     "libvcam_vlog.so",
                                     "libcam.utils.so",
                                     "libhwconfigurationutil.so",
                                     "libcam.utils.sensorprovider.so",
                                     "libcam.halsensor.so",
                                     "libstdc++.so.6",
                                     "libc.so.6"};
#if defined(__aarch64__)
  needed.push_back("ld-linux-aarch64.so.1");  // holds the stack protector's guard on this processor
#endif
  std::string const dynamic = "readelf -d '" LIBRARY_FILE "'";
  EXPECT_THAT(Lines(dynamic, ".*\\(NEEDED\\).*\\[(.*)\\]"), UnorderedElementsAreArray(needed));
  EXPECT_THAT(Lines(dynamic, ".*\\(SONAME\\).*\\[(.*)\\]"), UnorderedElementsAre("libvcam_shadingutil.so"));
}

TEST(Library, HasNoTypeInformationOfItsOwnAndDoesNotNameThePlaceOfItsBuild) {
  EXPECT_TRUE(Lines("nm --defined-only -C '" LIBRARY_FILE "'", ".*(typeinfo for Veyra).*").empty());
  EXPECT_TRUE(Lines("strings -a '" LIBRARY_FILE "'", ".*(" SOURCE_DIRECTORY ").*").empty());
  EXPECT_FALSE(Lines("strings -a '" LIBRARY_FILE "'", "(hardware/camera/.*/lsc/VeyraShadingUtil/.*)").empty());
}

}  // namespace
