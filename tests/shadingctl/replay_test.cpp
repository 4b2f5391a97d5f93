// The output of a replay in every format.
#include <gtest/gtest.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>

#include "tests/shadingctl/Program.h"

namespace shadingctl {
namespace {

constexpr char const* kWorkedColumns =
    "frame,timestamp_ns,type,match,samples,start_index,end_index,offset_us,start_distance_us,span_age_us,message,"
    "camera,"
    "end,end_distance_us,coverage,repeated_samples,hall_x,hall_y,readout_distance";

TEST(Replay, BuiltInSessionIsTheSameEverywhere) {
  Outcome const outcome = RunTool("replay --format csv");
  ExpectGolden(outcome.out, "builtin.csv");

  ExpectGolden(WithoutDurations(outcome.err), "builtin-summary.txt");
}

TEST(Replay, ModesAndTypesOfAFrameWorkedOutByHand) {
  TemporaryDirectory const directory;
  WriteWorkedRecording(directory);
  // x of the span: k * k for k from 0 to 20, sum 2870; y: -k. Within 1500 us of the readout lie k from -1 to 21 too,
  // whose mean is (3312 / 23, -10) = (144, -10).
  struct {
    char const* options;
    char const* type;
    char const* position;  // and its distance from the readout's mean
  } const rows[] = {
      {"", "0", "136.666672,-10,7.3333"},  // the device says mean
      {"--mode mean", "0", "136.666672,-10,7.3333"},
      {"--mode maximum", "0", "400,0,256.1952"},  // of 256 and 10
      {"--mode middle", "0", "100,-10,44.0000"},
      {"--mode last", "0", "400,-20,256.1952"},
      {"--type 1", "1", "136.666672,-10,7.3333"},
      {"--type 4", "4", "136.666672,-10,7.3333"},
      {"--type 5", "5", "136.666672,-10,7.3333"},
      {"--type 6", "6", "136.666672,-10,7.3333"},
  };
  for (auto const& [options, type, position] : rows) {
    Outcome const outcome = RunTool("replay --quiet --format csv " + directory.Path() + " " + options);
    EXPECT_EQ(
        Columns(outcome.out, kWorkedColumns),
        "7,1000000000000," + std::string(type) + ",start,100,40,60,-5598,0,0,,0,near,0,1.0000,0," + position + "\n")
        << options;
    EXPECT_EQ(outcome.err, "") << options;
  }
}

TEST(Replay, ACameraThatIsNotInTheSensorMapIsOff) {
  TemporaryDirectory const directory;
  WriteWorkedRecording(directory);
  TemporaryDirectory const device;
  device.Write("device.json", "{}");
  Outcome const outcome = RunTool("replay --quiet --format csv --device " + device.Path() + " " + directory.Path());
  EXPECT_EQ(outcome.exitCode, 0);
  EXPECT_EQ(Columns(outcome.out, kWorkedColumns),
            "7,1000000000000,0,off,,,,,,,camera not in the sensor map,0,,,,,,,\n");
  EXPECT_NE(LineOf(outcome.err, "shadingctl: camera 0 is not in the device's sensor map: every frame is off"), "")
      << outcome.err;
  EXPECT_NE(LineOf(outcome.err, "shadingctl: NOTHING MATCHED: "), "") << outcome.err;
  Outcome const refused = RunTool("replay --camera 1 " + directory.Path());
  EXPECT_EQ(refused.exitCode, 3);
  EXPECT_EQ(refused.err, "shadingctl: " + directory.Path() + ": expected camera 1, found those of the device, 0, 2\n");
  // The second camera of the map answers like the first.
  EXPECT_EQ(Columns(RunTool("replay --quiet --format csv --camera 2 " + directory.Path()).out, "match,camera"),
            "start,2\n");
}

// Of the worked recording's samples the last 99 (k from -39 on), of which k = -30 comes twice in one us: the library
// buffers 100 and has entries 0 to 98, entry k + 39 being sample k. Up to frame 9 the exposure is 10 ms.
TEST(Replay, EachMatchIsToldAsFarAsTheLogLevelAllows) {
  TemporaryDirectory const directory;
  WriteWorkedRecording(directory);
  std::string const hall = ReadFile(directory.Path() + "/hall.csv");
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
    Outcome const outcome = RunTool("replay --quiet --format csv " + directory.Path() + " " + options);
    shown += std::string(options) + "\n" + outcome.out + outcome.err;
  }
  ExpectGolden(shown, "matches.txt");
}

TEST(Replay, TableShowsUnitsAndTheTolerance) {
  TemporaryDirectory const directory;
  WriteWorkedRecording(directory);
  ExpectGolden(Replaced(RunTool("replay --quiet " + directory.Path()).out, directory.Path(), "DIR"), "table.txt");
}

TEST(Replay, JsonHasNullWhereThereIsNoValue) {
  TemporaryDirectory const directory;
  WriteWorkedRecording(directory);
  directory.Write("frames.csv",
                  "frame,timestamp_ns,exposure_ns,rolling_shutter_ns\n"
                  "6,999999000000,10000000,20000000\n7,1000000000000,10000000,20000000\n");
  auto const json = nlohmann::json::parse(RunTool("replay --format json " + directory.Path()).out);
  std::string nulls;
  for (auto const& [name, value] : json["frames"][0].items()) nulls += value.is_null() ? name + " " : "";
  EXPECT_EQ(
      nulls,
      "coverage end end_distance_us end_index hall_x hall_y readout_distance repeated_samples span_age_us span_us "
      "start_distance_us start_index window_us ");
  // What CSV does not have.
  auto const& frame = json["frames"][1];
  EXPECT_EQ(frame["start_of_frame_us"], 999990000);
  EXPECT_EQ(frame["exposure_us"], 10000);
  EXPECT_EQ(frame["readout_us"], 20000);
  EXPECT_EQ(frame["span_us"].dump(), "[999990000,1000010000]");
  EXPECT_EQ(frame["window_us"].dump(), "[999950000,1000049000]");
  EXPECT_EQ(json["schema"], "shadingctl-replay");
  EXPECT_EQ(json["version"], 1);
  EXPECT_EQ(json["complete"], true);
  EXPECT_TRUE(json["error"].is_null());
  auto const& summary = json["summary"]["cameras"][0];
  EXPECT_EQ(summary["camera"], 0);
  EXPECT_EQ(summary["matches"].dump(),
            R"({"carried":0,"no_start":0,"no_window":0,"off":0,"single":0,"start":1,"warm_up":1})");
  EXPECT_EQ(summary["match_rate"], 1.0);
  EXPECT_EQ(summary["match_rate_of_all"], 0.5);
  EXPECT_EQ(summary["recorded_ns"], 1000000);
  EXPECT_TRUE(summary["carried_age_us"]["median"].is_null());
  EXPECT_EQ(summary["samples"]["rate_hz"], 1000.0);
  EXPECT_EQ(summary["samples"]["jitter_us"], 0.0);
  EXPECT_EQ(json["summary"]["found"]["empty_batches"]["first"], directory.Path() + "/frames.csv:2");
}

TEST(Replay, JsonHoldsEveryBatchAsDeliveredWhenAsked) {
  TemporaryDirectory const directory;
  WriteWorkedRecording(directory);
  directory.Write("hall.csv", ReadFile(directory.Path() + "/hall.csv") + "7,999924402000,-1.5,0.1\n");
  std::string const command = "replay --format json " + directory.Path();
  auto const json = nlohmann::json::parse(RunTool(command + " --samples").out);
  ASSERT_EQ(json["batches"].size(), 1U);
  auto const& batch = json["batches"][0];
  EXPECT_EQ(batch["camera"], 0);
  EXPECT_EQ(batch["frame"], 7);
  ASSERT_EQ(batch["samples"].size(), 121U);
  EXPECT_EQ(batch["samples"][0].dump(), "[999924402000,3600,60]");
  EXPECT_EQ(batch["samples"][120].dump(), "[999924402000,-1.5,0.100000001]");
  EXPECT_FALSE(nlohmann::json::parse(RunTool(command).out).contains("batches"));
  EXPECT_EQ(nlohmann::json::parse(RunTool(command + " --samples --camera 2").out)["batches"][0]["camera"], 2);
  Outcome const table = RunTool("replay --samples");
  EXPECT_EQ(table.exitCode, 2);
  EXPECT_NE(table.err.find("--samples: expected --format json"), std::string::npos) << table.err;
}

// One frame at 1000 s whose history is `count` samples, the last one `lastUs` after it.
struct SparseWindow {
  char const* name;
  int count;
  int intervalUs;
  int lastUs;
  char const* exposureNs;
  char const* expected;  // match and message
};

TEST(Replay, WhyThereIsNoStartIsSaidOfTheWindow) {
  SparseWindow const rows[] = {
      // Sample 300 of 400 is at the frame, so the window begins at sample 250, 5000 us earlier. With a readout of 1 ms
      // the offset is -709 us; the frame starts 20000 us before its time: 20000 - 5000 + 709. A nearer sample, number
      // 93, was delivered and lies outside of the window.
      {"10 kHz", 400, 100, 9900, "20000000", "no_start,nearest in window 15709 us from start"},
      {"long exposure", 100, 1000, 9000, "999000000000", "no_start,nearest in window 998910 ms from start"},
      // Offset -166 us without an exposure: the last sample is 166 us after the start, the one before 9834 us before.
      {"last sample", 100, 10000, 0, "0", "no_start,only the window's last is near enough"},
      {"exposure beyond the time", 100, 1000, 9000, "18446744073709551615",
       "no_start,exposure longer than the frame's time"},
      {"exposure a microsecond beyond", 100, 1000, 9000, "1000000001000",
       "no_start,exposure longer than the frame's time"},
      {"99 samples", 99, 1000, 9000, "10000000", "warm_up,99 of 100 samples so far"},
      {"nothing late enough", 100, 1000, -1, "10000000", "no_window,nothing at or after its time"},
  };
  for (auto const& row : rows) {
    TemporaryDirectory const directory;
    directory.Write("frames.csv", "frame,timestamp_ns,exposure_ns,rolling_shutter_ns\n7,1000000000000," +
                                      std::string(row.exposureNs) + ",1000000\n");
    std::string hall = "frame,timestamp_ns,hall_x,hall_y\n";
    for (long i = 0; i < row.count; ++i) {
      long const us = row.lastUs - (row.count - 1 - i) * row.intervalUs;
      hall += "7," + std::to_string(1000000000000 + us * 1000) + ",1,2\n";
    }
    directory.Write("hall.csv", hall);
    std::string const rowsOut = RunTool("replay --quiet --format csv " + directory.Path()).out;
    EXPECT_EQ(Columns(rowsOut, "match,message,start_distance_us,span_age_us"), std::string(row.expected) + ",,\n")
        << row.name;
  }
}

// Frames after the warm-up, those of them without enough history, and the most samples that it held then.
TEST(Replay, AHistoryThatNeverHoldsEnoughIsAFailureOfItsOwn) {
  struct {
    char const* options;
    char const* figures;
  } const rows[] = {
      {"--frames 100 --frame-rate 120 --hall-rate 200", "70 70 50 0.0"},  // 30 frames are 0.25 s: 50 samples
      // 0.5 s: 99.5 samples, so that the history holds 99 and 100 in turns.
      {"--frames 130 --frame-rate 60 --hall-rate 199", "102 50 99 0.303922"},
      {"--frames 20 --frame-rate 60 --hall-rate 200", "0 0 null null"},
      {"--frames 60 --event host@-1:900000", "60 0 null 0.5"},
  };
  std::string shown;
  for (auto const& [options, figures] : rows) {
    TemporaryDirectory const directory;
    std::string const healthy = "generate --jitter-us 0 --overlap 0 --drop 0 --late 0 --pause-us 0 --force ";
    ASSERT_EQ(RunTool(healthy + options + " " + directory.Path()).exitCode, 0);
    Outcome const outcome = RunTool("replay --format json -o " + directory.Path() + "/result " + directory.Path());
    auto const result = nlohmann::json::parse(ReadFile(directory.Path() + "/result"));
    auto const& summary = result["summary"]["cameras"][0];
    auto const& history = summary["history"];
    EXPECT_EQ(std::to_string(summary["frames"].get<int>() - summary["warm_up_frames"].get<int>()) + " " +
                  history["too_short"].dump() + " " + history["longest_too_short"].dump() + " " +
                  summary["match_rate"].dump(),
              figures)
        << options;
    shown += options + ("\n" + WithoutDurations(outcome.out));
  }
  ExpectGolden(shown, "short-histories.txt");
  TemporaryDirectory const directory;
  ASSERT_EQ(RunTool("generate --frames 40 --frame-rate 120 --hall-rate 200 " + directory.Path()).exitCode, 0);
  for (char const* const level : {"1", "4"}) {
    std::string const out = RunTool("replay --quiet --format csv " + directory.Path() + " --log-level " + level).out;
    EXPECT_EQ(Rows(out).back()["message"], "30 frames hold 84 of 100 samples") << level;
  }
}

TEST(Replay, ASilentComputationIsMeasuredBesideTheOthersAndChangesNothing) {
  TemporaryDirectory const directory;
  auto const timesOf = [](std::string const& arguments) {
    return nlohmann::json::parse(RunTool("replay --format json " + arguments).out)["summary"]["cameras"][0]["library"];
  };
  auto const loud = timesOf("--log-level 4 --dump preview --dump-dir " + directory.Path());
  EXPECT_EQ(loud["silent_calculate_ns"]["frames"], 30) << "one in ten of 297";
  double const medianNs = loud["silent_calculate_ns"]["median"];
  EXPECT_GT(medianNs, 0);
  EXPECT_LT(medianNs * 5 * 297, loud["calculate_ns"].get<double>()) << "messages make most of the time";
  auto const few = nlohmann::json::parse(RunTool("replay --format json --log-level 1").out)["summary"]["cameras"][0];
  EXPECT_EQ(few["samples"]["batches_split"], 138) << "as at level 4";
  EXPECT_TRUE(few["samples"]["batches_dropped"].is_null()) << "which level 1 does not tell";
  auto const silent = timesOf("--log-level 0");
  EXPECT_EQ(silent["silent_calculate_ns"]["frames"], 0);
  EXPECT_TRUE(silent["silent_calculate_ns"]["median"].is_null());
}

TEST(Replay, RowsGoToTheOutputFileAndMessagesToTheLog) {
  TemporaryDirectory const directory;
  WriteWorkedRecording(directory);
  std::string const result = directory.Path() + "/result.csv";
  std::string const log = directory.Path() + "/library.log";
  Outcome const outcome = RunTool("replay --format csv -o " + result + " --log " + log + " " + directory.Path());
  EXPECT_EQ(ReadFile(result), RunTool("replay --format csv --quiet " + directory.Path()).out);
  EXPECT_NE(LineOf(outcome.out, "Frames"), "");
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
