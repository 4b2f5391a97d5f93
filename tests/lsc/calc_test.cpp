// One frame from end to end, on a session whose numbers can be followed by hand: 100 samples 1 ms apart, of which
// number 50 lies exactly at the start of the frame and number 70 at the end of its readout.

#include <algorithm>

#include "tests/support/FrameSession.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Calc : public FrameSession {
 protected:
  // How many of the messages begin so.
  static auto Count(std::vector<std::string> const& log, std::string const& beginning) {
    return std::count_if(log.begin(), log.end(),
                         [&](std::string const& text) { return text.rfind(beginning, 0) == 0; });
  }
};

TEST_F(Calc, AMatchedFrameWritesTheMessagesOfItsLogLevel) {
  std::vector<std::string> const final = {
      "[CalcOISValue] camera_id = 0, frame_id = 42, g_oisDebug = 1, out_frame_ois_size(2, 2), "
      "out_frame_ois0(x = 60.000000, y=-60.000000), out_frame_ois1(x = 0.000000, y=0.000000)"};
  Start(0);
  Run();
  EXPECT_THAT(x, ElementsAre(60.0, 0.0));
  EXPECT_THAT(y, ElementsAre(-60.0, 0.0));
  EXPECT_EQ(matched, 1);
  EXPECT_EQ(Logged(), final);

  Start(1);
  Run();
  EXPECT_THAT(
      Logged(),
      ElementsAre("[QueryRollingShutter] query rolling shutter:20000000", "[getDataByTimestamp]  total data size:100",
                  "[getDataByTimestamp] match data offset:66 timestamp:1000000402000",
                  "[getSensorData]  get sensor data F:(0) TS:(1000000000000) data size:100",
                  "[QuerySensorData]  get sensor data size:100",
                  "[CalcOISValue] camera_id = 0, type = 1, oisCount = 100, sof_timestamp = 999990000, "
                  "exposure_time = 10000, shutter_time = 20000, timeDiff = -5598",
                  "[CalcOISValue] activeNum:100", "[CalcOISValue] stamp_up = 1000, i = 49, stamp_down = 0, i+1 = 50",
                  "[CalcOISValue] startIndex = 50, endIndex = 70", final[0]));

  Start(4);
  Run();
  auto const log = Logged();
  // One line for the camera, the 9 of level 1 before the last, and each sample, candidate and entry of the span.
  EXPECT_EQ(log.size(), 1U + 9U + 100U + 50U + 20U + 21U + 1U);
  EXPECT_EQ(log[0], "[IsEnabled] sensor:0 enabled");
  EXPECT_EQ(log[7],
            "[CalcOISValue] get source ois data index = 0, timestamp = 999934402, oisHall_x = 0.000000, "
            "oisHall_y = 0.000000");
  EXPECT_EQ(log[107], "[CalcOISValue] activeNum:100");
  EXPECT_EQ(log[108], "[CalcOISValue] startIndex, index = 0, timestamp Difference = 50000");
  EXPECT_EQ(log[157], "[CalcOISValue] startIndex, index = 49, timestamp Difference = 1000");
  EXPECT_EQ(log[159], "[CalcOISValue] endIndex, i = 50, timestamp Difference = 20000");
  EXPECT_EQ(log[178], "[CalcOISValue] endIndex, i = 69, timestamp Difference = 1000");
  EXPECT_EQ(log[180],
            "[CalcOISValue] Match OIS data, sof_timestamp = 999990000, activeNum = 21, hall = (50.000000, -50.000000), "
            "timestamp = 999990000");
  EXPECT_EQ(log[201], final[0]);
}

TEST_F(Calc, EachKindOfFrameTakesItsTimesAndEachModeItsReduction) {
  Start(0);
  struct {
    int type, mode;
    double hallX;
  } const rows[] = {{0, 1, 60.0}, {1, 2, 70.0}, {4, 3, 60.0}, {5, 4, 70.0}, {6, 2, 70.0}};
  for (auto const& row : rows) {
    g_oisDebug = row.mode;
    x = y = {1.0, 2.0, 3.0};
    Run(row.type);
    EXPECT_THAT(x, ElementsAre(row.hallX, 0.0)) << row.type;
    EXPECT_EQ(y.size(), 2U) << row.type;
  }

  g_oisDebug = 0;  // matches, but calculates nothing
  x = {5.0};
  y.clear();
  Logged();
  Run();
  EXPECT_THAT(x, ElementsAre(5.0));
  EXPECT_THAT(y, IsEmpty());
  EXPECT_THAT(Logged(), ElementsAre("[CalcOISValue] camera_id = 0, frame_id = 42, g_oisDebug = 0, "
                                    "out_frame_ois_size(1, 0)"));
}

TEST_F(Calc, AFrameWithoutAMatchLeavesTheCallersValues) {
  struct {
    char const* what;
    std::uint64_t timestampNs;
    int type, sensorId, matchedBefore;
    std::uint32_t rollingShutterNs;
    int matchedAfter;
    std::vector<std::string> lines;
  } const rows[] = {
      {"camera not in the map", kTimestampNs, 0, 1, 0, 20'000'000, 0, {}},
      {"camera without a monitor",
       kTimestampNs,
       0,
       2,
       1,
       20'000'000,
       1,
       {"[IsEnabled] Sensor Monitor not registered sensorId:2"}},
      {"kind of frame not known",
       kTimestampNs,
       2,
       0,
       1,
       20'000'000,
       1,
       {"[CalcOISValue] Unknown type 2", "[getSensorData] timestamp or frameNumber should not be zero"}},
      {"later than every sample",
       kTimestampNs + 50'000'000,
       0,
       0,
       1,
       20'000'000,
       1,
       {"[getDataByTimestamp] no data matched"}},
      {"no sample near the start", kTimestampNs - 100'000'000, 0, 0, 0, 20'000'000, 0, {}},
      {"start found, but no readout to end", kTimestampNs, 0, 0, 0, 0, 1, {}},
  };
  Start(0);
  for (auto const& row : rows) {
    SCOPED_TRACE(row.what);
    SetReadout(row.rollingShutterNs);
    input.timestamp0 = row.timestampNs;
    matched = row.matchedBefore;
    Run(row.type, row.sensorId);
    EXPECT_THAT(x, ElementsAre(7.0));
    EXPECT_THAT(y, ElementsAre(8.0, 9.0, 10.0));
    EXPECT_EQ(matched, row.matchedAfter);
    EXPECT_EQ(Logged(), row.lines);
  }

  gLogLevel = 4;
  SetReadout(0);
  input.timestamp0 = kTimestampNs;
  Run(0);
  EXPECT_EQ(Logged().back(),
            "[CalcOISValue] Match OIS data fail, transfer the last ois data to tsf. type = 0, frame_id =42, "
            "sof_timestamp = 999990000,                 camera_id = 0, out_frame_ois_size(1, 3)");
}

TEST_F(Calc, TheFlagOfAnEarlierFrameTakesTheOldestEnd) {
  Start(1);
  input.timestamp0 = kTimestampNs - 100'000'000;  // start of frame 60 ms before the first entry
  matched = 5;
  Run();
  // Span from entry 0 to entry 20, 20 ms later.
  EXPECT_THAT(x, ElementsAre(10.0, 0.0));
  EXPECT_EQ(matched, 5) << "only a start sets it";
  EXPECT_EQ(Count(Logged(), "[CalcOISValue] stamp_up"), 0);
}

TEST_F(Calc, SamplesOfTheLastMicrosecondAreNoStart) {
  Samples samples =
      EvenSamples(100, static_cast<std::int64_t>(kTimestampNs) - 98 * 2 * kMillisecondNs, 2 * kMillisecondNs);
  samples[99].timestamp = samples[98].timestamp + 1;
  input.exposureTime0 = 0;
  for (int const logLevel : {0, 1}) {  // with and without messages
    Start(logLevel, samples);
    x = {7.0};
    matched = 1;
    Run();
    EXPECT_THAT(x, ElementsAre(5.0, 0.0)) << "entries 0 to 10 of the oldest end, at level " << logLevel;
  }
}

TEST_F(Calc, NullVectorsDoNothingAtAll) {
  Start(4);
  device.RecordCalls(true);
  library->CalcOISValue(kShadingPreview, input, nullptr, &y, frameId, 0, matched);
  library->CalcOISValue(kShadingPreview, input, &x, nullptr, frameId, 0, matched);
  EXPECT_THAT(x, ElementsAre(7.0));
  EXPECT_THAT(y, ElementsAre(8.0, 9.0, 10.0));
  EXPECT_EQ(matched, 0);
  EXPECT_THAT(Logged(), IsEmpty());
}

TEST_F(Calc, SamplesOfOneMicrosecondMakeOneEntryAndThoseOfMicrosecondZeroNone) {
  struct {
    std::int64_t firstNs;
    int activeNum;
    char const* span;
  } const rows[] = {{kFirstSampleNs, 1, "[CalcOISValue] startIndex = 0, endIndex = 0"},
                    {1, 0, "[CalcOISValue] startIndex = 0, endIndex = -1"}};
  for (auto const& row : rows) {
    Start(1, EvenSamples(100, row.firstNs, 1));
    input.timestamp0 = static_cast<std::uint64_t>(row.firstNs);
    matched = 1;
    Run();
    auto const log = Logged();
    EXPECT_EQ(Count(log, "[CalcOISValue] activeNum:" + std::to_string(row.activeNum)), 1);
    EXPECT_EQ(log.back(), row.span);
    EXPECT_THAT(x, ElementsAre(7.0));
  }
}

}  // namespace
