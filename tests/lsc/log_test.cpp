// The message forms, their gates and their two sinks.

#include "lsc/log/Log.h"

#include "platform/desktop/Memory.h"
#include "tests/support/PlayedDevice.h"

namespace {

using desktop::Sink;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;

class Log : public PlayedDevice {
 protected:
  void Sinks(bool systemLog, bool file, int maximumLevel = 5) {
    auto settings = device.Settings();
    settings.log = {systemLog, file, maximumLevel};
    device.Configure(settings);
  }
};

TEST_F(Log, EveryFormHasItsLevelItsPriorityAndItsTexts) {
  Sinks(true, true);
  gLogLevel = 4;
  LSC_LOGE("error %d", 1);
  int const errorLine = __LINE__ - 1;
  LSC_LOGW("warning %d", 2);
  int const warningLine = __LINE__ - 1;
  LSC_LOGI("info %d", 3);
  LSC_LOGI_NONZERO("some %d", 4);
  LSC_LOGI_DETAIL("detail %d", 5);
  LSC_LOGI_FOR("Elsewhere", "info %d", 6);
  LSC_LOGD("debug %d", 7);

  std::string const numbered = "(" + std::string(errorLine < 100 ? 2 : 1, ' ') + std::to_string(errorLine) + ") ";
  auto const place = [](int line) { return " (TestBody){#" + std::to_string(line) + ":" __FILE__ "}"; };
  struct {
    Sink sink;
    int level;
    std::string text;
  } const rows[] = {
      {Sink::kSystemLog, 6, numbered + "[TestBody] error 1" + place(errorLine)},
      {Sink::kFile, 1, numbered + "[TestBody] error 1"},
      {Sink::kSystemLog, 5, "[TestBody] warning 2" + place(warningLine)},
      {Sink::kFile, 2, "[TestBody] warning 2"},
      {Sink::kSystemLog, 4, "[TestBody] info 3"},
      {Sink::kFile, 3, "[TestBody] info 3"},
      {Sink::kSystemLog, 4, "[TestBody] some 4"},
      {Sink::kFile, 3, "[TestBody] some 4"},
      {Sink::kSystemLog, 4, "[TestBody] detail 5"},
      {Sink::kFile, 3, "[TestBody] detail 5"},
      {Sink::kSystemLog, 4, "[Elsewhere] info 6"},
      {Sink::kFile, 3, "[Elsewhere] info 6"},
      {Sink::kSystemLog, 3, "[TestBody] debug 7"},
      {Sink::kFile, 5, "[TestBody] debug 7"},
  };
  auto const messages = device.TakeLog();
  ASSERT_EQ(messages.size(), std::size(rows));
  for (std::size_t i = 0; i < messages.size(); ++i) {
    EXPECT_EQ(messages[i].sink, rows[i].sink) << rows[i].text;
    EXPECT_EQ(messages[i].level, rows[i].level) << rows[i].text;
    EXPECT_EQ(messages[i].text, rows[i].text);
    EXPECT_EQ(messages[i].tag, "VeyraShadingUtil");
    EXPECT_EQ(messages[i].module, messages[i].sink == Sink::kFile ? 128U : 0U);
  }
}

TEST_F(Log, TheLibrarysMessagesNameItsPlaceInTheBuildTree) {
  VeyraShadingUtil library;
  device.TakeLog();
  library.UpdateSensorData(0, 1, 1);
  EXPECT_THAT(Logged(),
              ElementsAre(MatchesRegex("\\[UpdateSensorData\\] Sensor Monitor not registered sensorId:0 "
                                       "\\(UpdateSensorData\\)\\{#[0-9]+:hardware/camera/mtkcam/mtkcam-custom/aaa/aaa/"
                                       "lsc/VeyraShadingUtil/sensor/MonitorRegistry.cpp\\}")));
}

TEST_F(Log, GatesAreAskedInOrderAndAClosedOneEndsTheMessage) {
  struct {
    int logLevel;
    bool systemLog, file;
    int maximumLevel;
    std::vector<std::string> nonzero, detail;  // the questions and deliveries of one message of each condition
  } const rows[] = {
      {0, false, false, 5, {}, {}},
      {3, false, false, 5, {"isLogDetailsEnabled 128 3", "isDefaultModeEnabled", "isFileModeEnabled"}, {}},
      {-1, false, false, 2, {"isLogDetailsEnabled 128 3"}, {}},
      {4,
       true,
       true,
       5,
       {"isLogDetailsEnabled 128 3", "isDefaultModeEnabled", "__android_log_print 4", "isFileModeEnabled",
        "logNormalDetails 128 3 14"},
       {"isLogDetailsEnabled 128 3", "isDefaultModeEnabled", "__android_log_print 4", "isFileModeEnabled",
        "logNormalDetails 128 3 14"}},
      {4,
       false,
       true,
       5,
       {"isLogDetailsEnabled 128 3", "isDefaultModeEnabled", "isFileModeEnabled", "logNormalDetails 128 3 14"},
       {"isLogDetailsEnabled 128 3", "isDefaultModeEnabled", "isFileModeEnabled", "logNormalDetails 128 3 14"}},
  };
  for (auto const& row : rows) {
    SCOPED_TRACE(row.logLevel);
    Sinks(row.systemLog, row.file, row.maximumLevel);
    device.RecordCalls(true, true);
    device.TakeCalls();
    gLogLevel = row.logLevel;
    int evaluations = 0;
    LSC_LOGI_NONZERO("%03d", ++evaluations);
    EXPECT_EQ(device.TakeCalls(), row.nonzero);
    LSC_LOGI_DETAIL("%03d", ++evaluations);
    EXPECT_EQ(device.TakeCalls(), row.detail);
    EXPECT_EQ(evaluations != 0, row.systemLog || row.file);
  }
}

TEST_F(Log, TheFileSinkTakes1023CharactersAndTheSystemLogAll) {
  Sinks(true, true);
  struct {
    std::size_t argument, held;
  } const rows[] = {{1'023 - 11, 1'023}, {1'024 - 11, 1'023}, {2'000, 1'023}, {0, 11}};  // "[TestBody] " has 11
  for (auto const& row : rows) {
    LSC_LOGI("%s", std::string(row.argument, 'x').c_str());
    auto const messages = device.TakeLog();
    ASSERT_EQ(messages.size(), 2U);
    EXPECT_EQ(messages[0].text.size(), row.argument + 11);
    EXPECT_EQ(messages[1].text, messages[0].text.substr(0, row.held));
  }
}

TEST_F(Log, WithoutMemoryOnlyTheFileSinkMissesTheMessage) {
  Sinks(true, true);
  desktop::FailAllocations(1);
  LSC_LOGI("text");
  desktop::FailAllocations(0);
  EXPECT_THAT(Logged(), ElementsAre("[TestBody] text"));
}

}  // namespace
