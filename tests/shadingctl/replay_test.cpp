// What a replay shows, in every format.
#include <gtest/gtest.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>

#include "tests/shadingctl/Program.h"

namespace shadingctl {
namespace {

constexpr char const* kHeader =
    "frame,timestamp_ns,type,match,samples,start_index,end_index,offset_us,start_distance_us,span_age_us,hall_x,hall_y,"
    "message,camera\n";

TEST(Replay, BuiltInSessionIsTheSameEverywhere) {
  Outcome const outcome = RunTool("replay --format csv");
  auto const golden = Lines(ReadFile(GOLDEN "/builtin.csv"));
  auto const now = Lines(outcome.out);
  ASSERT_GT(golden.size(), 1U);
  for (std::size_t i = 0; i < std::min(golden.size(), now.size()); ++i)
    ASSERT_EQ(now[i], golden[i]) << "line " << i + 1;
  EXPECT_EQ(now.size(), golden.size());

  std::string summary;
  for (auto const& line : Lines(outcome.err)) {
    bool const isDuration = line.rfind("Library ", 0) == 0 || line.rfind("Replay ", 0) == 0;
    if (!isDuration) summary += line + "\n";
  }
  EXPECT_EQ(summary, ReadFile(GOLDEN "/builtin-summary.txt"));
}

TEST(Replay, ModesAndTypesOfAFrameWorkedOutByHand) {
  TemporaryDirectory const directory;
  WriteWorkedRecording(directory);
  // x of the span: k * k for k from 0 to 20, sum 2870; y: -k.
  std::pair<char const*, char const*> const modes[] = {
      {"", "136.666672,-10"},  // the device says mean
      {"--mode mean", "136.666672,-10"},
      {"--mode maximum", "400,0"},
      {"--mode middle", "100,-10"},
      {"--mode last", "400,-20"},
  };
  std::string const row = "7,1000000000000,0,start,100,40,60,-5598,0,0,";
  for (auto const& [mode, position] : modes) {
    Outcome const outcome = RunTool("replay --quiet --format csv " + directory.path() + " " + mode);
    EXPECT_EQ(outcome.out, kHeader + row + position + ",,0\n") << mode << outcome.err;
    EXPECT_EQ(outcome.err, "") << mode;
  }
  for (char const* type : {"1", "4", "5", "6"}) {
    std::string const typed = Replaced(row, ",0,start", std::string(",") + type + ",start");
    EXPECT_EQ(RunTool("replay --quiet --format csv --type " + (type + (" " + directory.path()))).out,
              kHeader + typed + "136.666672,-10,,0\n");
  }
}

TEST(Replay, ACameraThatIsNotInTheSensorMapIsOff) {
  TemporaryDirectory const directory;
  WriteWorkedRecording(directory);
  Outcome const outcome = RunTool("replay --quiet --format csv --camera 1 " + directory.path());
  EXPECT_EQ(outcome.exitCode, 0);
  EXPECT_EQ(outcome.out,
            kHeader + std::string("7,1000000000000,0,off,,,,,,,,,the camera is not in the device's sensor map,1\n"));
  EXPECT_EQ(outcome.err, "shadingctl: camera 1 is not in the device's sensor map: every frame is off\n");
  // The second camera of the map answers like the first.
  EXPECT_NE(RunTool("replay --quiet --format csv --camera 2 " + directory.path()).out.find(",start,"),
            std::string::npos);
}

// Of the worked recording's samples the last 99 (k from -39 on), of which k = -30 comes twice in one us: the library
// buffers 100 and has entries 0 to 98, entry k + 39 being sample k. Up to frame 9 the exposure is 10 ms.
TEST(Replay, EachMatchIsToldAsFarAsTheLogLevelAllows) {
  TemporaryDirectory const directory;
  WriteWorkedRecording(directory);
  std::string const hall = ReadFile(directory.path() + "/hall.csv");
  directory.Write("hall.csv", "frame,timestamp_ns,hall_x,hall_y\n" + Replaced(hall.substr(hall.find("7,999945402000")),
                                                                              "7,999955402000",
                                                                              "7,999954402400,0,0\n7,999955402000"));
  directory.Write("frames.csv",
                  "frame,timestamp_ns,exposure_ns,rolling_shutter_ns\n"
                  "6,1000000000000,10000000,20000000\n"      // nothing delivered yet
                  "7,1000000000000,10000000,20000000\n"      // entry 39 at the start, 59 at the end
                  "8,0,10000000,20000000\n"                  // no time
                  "9,1000043402001,10000000,20000000\n"      // 1 ns after the last sample
                  "10,1000043402000,0,20000000\n"            // offset -166: the last entry 166 us after the start
                  "11,1000043402000,107834000,0\n"           // starts 10 ms before entry 0, no readout: entry 0 alone
                  "12,1000043402000,102402000,10000000\n");  // starts 10 ms before entry 0, entry 10 at its end
  std::string shown;
  for (char const* const options : {"--log-level 4", "--log-level 1", "--log-level 0", "--reset-matched"}) {
    Outcome const outcome = RunTool("replay --quiet --format csv " + directory.path() + " " + options);
    shown += std::string(options) + "\n" + outcome.out + outcome.err;
  }
  EXPECT_EQ(shown, ReadFile(GOLDEN "/matches.txt"));
}

TEST(Replay, TableShowsUnitsAndTheTolerance) {
  TemporaryDirectory const directory;
  WriteWorkedRecording(directory);
  EXPECT_EQ(Replaced(RunTool("replay --quiet " + directory.path()).out, directory.path(), "DIR"),
            R"(DIR: camera 0, sensor type 3, frame type 0, mode mean, log level 4

     frame      time  match      samples    span  offset     distance      age         hall x        hall y  note
                   s                     entries      us   us/allowed       us      hall unit     hall unit
         7     0.000  start          100   40-60   -5598       0/1500        0     136.666672           -10
)");
}

TEST(Replay, JsonHasNullWhereThereIsNoValue) {
  TemporaryDirectory const directory;
  WriteWorkedRecording(directory);
  directory.Write("frames.csv",
                  "frame,timestamp_ns,exposure_ns,rolling_shutter_ns\n"
                  "6,999999000000,10000000,20000000\n7,1000000000000,10000000,20000000\n");
  auto const json = nlohmann::json::parse(RunTool("replay --format json " + directory.path()).out);
  EXPECT_EQ(json["frames"].dump(),
            R"([{"camera":0,"end_index":null,"frame":6,"hall_x":null,"hall_y":null,)"
            R"("match":"no_samples","message":"too little history: 0 of 100 samples","offset_us":-5598,"samples":0,)"
            R"("span_age_us":null,"start_distance_us":null,"start_index":null,"timestamp_ns":999999000000,"type":0},)"
            R"({"camera":0,"end_index":60,"frame":7,"hall_x":136.666672,"hall_y":-10.0,"match":"start","message":null,)"
            R"("offset_us":-5598,"samples":100,"span_age_us":0,"start_distance_us":0,"start_index":40,)"
            R"("timestamp_ns":1000000000000,"type":0}])");
  auto const& summary = json["summary"];
  EXPECT_EQ(summary["matches"].dump(), R"({"carried":0,"no_samples":1,"no_start":0,"off":0,"single":0,"start":1})");
  EXPECT_EQ(summary["match_rate"], 0.5);
  EXPECT_EQ(summary["recorded_ns"], 1000000);
  EXPECT_TRUE(summary["carried_age_us"]["median"].is_null());
  EXPECT_EQ(summary["samples"]["rate_hz"], 1000.0);
  EXPECT_EQ(summary["samples"]["jitter_us"], 0.0);
  EXPECT_EQ(summary["found"]["frames_without_samples"]["first"], directory.path() + "/frames.csv:2");
}

TEST(Replay, RowsGoToTheOutputFileAndMessagesToTheLog) {
  TemporaryDirectory const directory;
  WriteWorkedRecording(directory);
  std::string const result = directory.path() + "/result.csv";
  std::string const log = directory.path() + "/library.log";
  Outcome const outcome = RunTool("replay --format csv -o " + result + " --log " + log + " " + directory.path());
  EXPECT_EQ(ReadFile(result), kHeader + std::string("7,1000000000000,0,start,100,40,60,-5598,0,0,136.666672,-10,,0\n"));
  EXPECT_EQ(outcome.out.rfind("Frames     1 (7 to 7), 0.000 s\n", 0), 0U) << outcome.out;
  EXPECT_EQ(outcome.err, "");
  auto const messages = Lines(ReadFile(log));
  ASSERT_FALSE(messages.empty());
  EXPECT_EQ(messages.front(), "-: [RegisterSensorMonitor] Register Sensor Monitor sensorId:0 sensorType:3");
  EXPECT_EQ(messages.back(), "-: [StopSensorMonitor] Stop sensorId:0 sensorType:3, mSensorMonitors.size:0");
  EXPECT_NE(std::find(messages.begin(), messages.end(), "7: [CalcOISValue] startIndex = 40, endIndex = 60"),
            messages.end());
}

}  // namespace
}  // namespace shadingctl
