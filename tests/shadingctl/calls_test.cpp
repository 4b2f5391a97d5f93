// Replays of the calls in a recording of version 2.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "tests/shadingctl/Program.h"

namespace shadingctl {
namespace {

using std::string_literals::operator""s;

std::string const kFirstColumns = "kind,camera,sensor_type,sensor_mode,rolling_shutter_ns";
std::string const kLastColumns =
    "frame,timestamp_ns,type,exposure_ns,timestamp1_ns,exposure1_ns,timestamp2_ns,exposure2_ns,matched,answer,hall_x,"
    "hall_y";

std::string Start(std::string const& camera, std::string const& sensorType) {
  return "register_start," + camera + "," + sensorType + ",,,,,,,,,,,,,,";
}
std::string Stop(std::string const& camera, std::string const& sensorType) {
  return "stop," + camera + "," + sensorType + ",,,,,,,,,,,,,,";
}
std::string Readout(std::string const& camera, std::string const& mode, std::string const& ns) {
  return "readout," + camera + ",," + mode + "," + ns + ",,,,,,,,,,,,";
}
std::string Update(std::string const& camera) { return "update," + camera + ",,,,7,1000000000000,,,,,,,,,,"; }

// Pair 0 is that of the worked recording; pair 1 has an exposure of 1 ms, pair 2 is 4 ms later.
std::string Calc(std::string const& camera, std::string const& type, std::string const& flagAndAnswer = ",,,") {
  return "calculate," + camera + ",,,,7,1000000000000," + type +
         ",10000000,1000000000000,1000000,1000004000000,10000000," + flagAndAnswer;
}

// Every update delivers the samples of the worked recording, those of camera 2 with x and y swapped.
void WriteCalls(TemporaryDirectory const& directory, std::vector<std::string> const& calls,
                std::string const& settings = "") {
  directory.Write("recording.csv", "key,value\nversion,2\n" + settings);
  std::ostringstream rows;
  std::ostringstream samples;
  rows << "call," << kFirstColumns << "," << kLastColumns << "\n";
  samples << "call,timestamp_ns,hall_x,hall_y\n";
  for (std::size_t i = 0; i < calls.size(); ++i) {
    rows << i + 1 << "," << calls[i] << "\n";
    if (calls[i].rfind("update", 0) != 0) continue;
    bool const isSwapped = calls[i].rfind("update,2", 0) == 0;
    for (long k = -60; k < 60; ++k) {
      samples << i + 1 << "," << 999984402000 + k * 1000000 << ",";
      samples << (isSwapped ? -k : k * k) << "," << (isSwapped ? k * k : -k) << "\n";
    }
  }
  directory.Write("calls.csv", rows.str());
  directory.Write("hall.csv", samples.str());
}

constexpr char const* kRowColumns =
    "frame,timestamp_ns,type,match,samples,start_index,end_index,offset_us,start_distance_us,span_age_us,hall_x,hall_y,"
    "message,camera";

struct Played {
  char const* name;
  std::vector<std::string> calls;
  std::string rows;  // of kRowColumns
  std::string settings = {};
  std::string options = {};
};

std::string const kStart0 = Start("0", "3");
std::string const kReadout0 = Readout("0", "0", "20000000");
std::string const kUpdate0 = Update("0");

// Entry k + 40 of the window is sample k.
// Pair 0: see Program.h. Pair 1: the offset is -709 us, so sample k is aligned to 999985111 us + k ms; the frame starts
// at 999999000 us, sample 14 is 111 us later, and 34 lies at its end. Mean of k * k: (13685 - 819) / 21.
// Pair 2: 4 ms later than pair 0, so from sample 4 to 24. Mean of k * k: (4900 - 14) / 21.
std::string Pair0(char const* type) {
  return "7,1000000000000,"s + type + ",start,100,40,60,-5598,0,0,136.666672,-10,,0\n";
}
std::string const kPair1 = "7,1000000000000,5,start,100,54,74,-709,111,-111,612.666687,-24,,0\n";
std::string Pair2(char const* type) {
  return "7,1000004000000,"s + type + ",start,100,44,64,-5598,0,0,232.666672,-14,,0\n";
}
std::string const kNoHistory = "7,1000000000000,0,warm_up,0,,,-5598,,,,,0 of 100 samples so far,0\n";

TEST(PlayedCalls, GiveTheseRows) {
  Played const rows[] = {
      {"EachTypeHasItsPair",
       {kStart0, kReadout0, kUpdate0, Calc("0", "0"), Calc("0", "1"), Calc("0", "4"), Calc("0", "5"), Calc("0", "6")},
       Pair0("0") + Pair0("1") + Pair2("4") + kPair1 + Pair2("6")},
      {"TheOptionTakesThePlaceOfTypes",
       {kStart0, kReadout0, kUpdate0, Calc("0", "0"), Calc("0", "4")},
       kPair1 + kPair1,
       "",
       "--type 5"},
      {"AComputationBeforeItsUpdateKnowsNothing",
       {kStart0, kReadout0, Calc("0", "0"), kUpdate0, Calc("0", "0")},
       kNoHistory + Pair0("0")},
      // The window ends 10 ms after the start: k * k from 0 to 10 has the mean 385 / 11.
      {"AModeSwitchMovesTheEnd",
       {kStart0, kReadout0, kUpdate0, Readout("0", "1", "10000000"), Calc("0", "0")},
       "7,1000000000000,0,start,100,40,50,-5598,0,0,35,-5,,0\n"},
      {"AStopTakesTheHistoryAndTheReadout",
       {kStart0, kReadout0, kUpdate0, Stop("0", "3"), Calc("0", "0"), kStart0, Calc("0", "0")},
       "7,1000000000000,0,off,,,,,,,,,camera without a monitor,0\n" + Replaced(kNoHistory, "-5598", "-166")},
      {"RegisteringAndStartingApartIsTheSame",
       {Replaced(kStart0, "register_start", "register"), Calc("0", "0"), Replaced(kStart0, "register_", ""), kReadout0,
        kUpdate0, Calc("0", "0")},
       "7,1000000000000,0,warm_up,0,,,-166,,,,,0 of 100 samples so far,0\n" + Pair0("0")},
      {"TwoCamerasDoNotMix",
       {kStart0, Start("2", "5"), kReadout0, Readout("2", "0", "10000000"), kUpdate0, Update("2"), Calc("2", "0"),
        Calc("0", "0")},
       "7,1000000000000,0,start,100,40,50,-5598,0,0,-5,35,,2\n" + Pair0("0")},
      {"OneOfTwoCameras",
       {kStart0, Start("2", "5"), kReadout0, Readout("2", "0", "10000000"), kUpdate0, Update("2"), Calc("2", "0"),
        Calc("0", "0")},
       "7,1000000000000,0,start,100,40,50,-5598,0,0,-5,35,,2\n",
       "cameras,0 2\n",
       "--camera 2"},
      // Camera 2 is one of the built-in device, the others are not.
      {"CamerasWhoseTypesAreNotRecordedDoNotMix",
       {Start("8", ""), Start("2", ""), Start("9", ""), Readout("9", "0", "20000000"), Readout("2", "0", "10000000"),
        Update("9"), Update("2"), Calc("2", "0"), Calc("9", "0"), Stop("2", ""), Calc("8", "0"), Calc("9", "0")},
       "7,1000000000000,0,start,100,40,50,-5598,0,0,-5,35,,2\n" + Replaced(Pair0("0"), ",,0\n", ",,9\n") +
           "7,1000000000000,0,warm_up,0,,,-166,,,,,0 of 100 samples so far,8\n" +
           Replaced(Pair0("0"), ",,0\n", ",,9\n"),
       "cameras,8 2 9\n"},
      // Camera 9 is none of the built-in device.
      {"CamerasOfTheRecordingTakeThePlaceOfTheDevices",
       {Start("9", "4"), Readout("9", "3", "20000000"), Update("9"), Calc("9", "0"), Calc("0", "0")},
       Replaced(Pair0("0"), ",,0\n", ",,9\n") + "7,1000000000000,0,off,,,,,,,,,camera not in the sensor map,0\n",
       "cameras,9\n"},
      {"TheRecordingSaysTheMode",
       {kStart0, kReadout0, kUpdate0, Calc("0", "0")},
       Replaced(Pair0("0"), "136.666672,-10", "400,-20"),
       "calculation_mode,4\n"},
      {"TheOptionWinsOverTheRecordedMode",
       {kStart0, kReadout0, kUpdate0, Calc("0", "0")},
       Pair0("0"),
       "calculation_mode,4\n",
       "--mode mean"},
      // Without a camera and a type: whatever the replay is asked for.
      {"ACallThatNamesNoCameraIsTheOneAskedFor",
       {Start("", ""), Readout("", "", "20000000"), Update(""), Calc("", "")},
       Replaced(Pair0("0"), ",,0\n", ",,2\n"),
       "",
       "--camera 2"}};
  for (Played const& row : rows) {
    TemporaryDirectory const directory;
    WriteCalls(directory, row.calls, row.settings);
    Outcome const outcome = RunTool("replay --quiet --format csv " + directory.Path() + " " + row.options);
    EXPECT_EQ(outcome.exitCode, 0) << row.name;
    std::string const nothing = LineOf(outcome.err, "shadingctl: NOTHING MATCHED");
    EXPECT_EQ(outcome.err, nothing.empty() ? nothing : nothing + "\n") << "and no other remark";
    EXPECT_EQ(Columns(outcome.out, kRowColumns), row.rows) << row.name;
  }
}

// An exposure of 200 ms starts 118 ms before the oldest sample.
TEST(Calls, TheFlagIsHandedInAsRecorded) {
  TemporaryDirectory const directory;
  auto const far = [](std::string const& flag) {
    return Replaced(Calc("0", "0", flag + ",,,"), ",10000000,1000000000000,", ",200000000,1000000000000,");
  };
  WriteCalls(directory,
             {kStart0, kReadout0, kUpdate0, far(""), far("1"), far(""), Calc("0", "0"), far(""), far("0"), far("")});
  EXPECT_EQ(Columns(RunTool("replay --quiet --format csv " + directory.Path()).out, "match"),
            "no_start\ncarried\ncarried\nstart\ncarried\nno_start\nno_start\n");
}

TEST(Calls, AStartWithoutARegistrationIsTold) {
  TemporaryDirectory const directory;
  WriteCalls(directory, {Replaced(kStart0, "register_start", "start"), kReadout0, kUpdate0, Calc("0", "0")});
  std::string const told = RunTool("replay --quiet " + directory.Path()).err;
  EXPECT_EQ(told.rfind("shadingctl: camera 0 is started without a monitor: ", 0), 0U) << told;
}

TEST(Calls, ACameraThatTheRecordingDoesNotNameIsRefused) {
  TemporaryDirectory const directory;
  WriteCalls(directory, {kStart0, Start("2", "5"), kReadout0, kUpdate0, Calc("0", "0")});
  Outcome const outcome = RunTool("replay --quiet --camera 1 --format csv " + directory.Path());
  EXPECT_EQ(outcome.exitCode, 3);
  EXPECT_EQ(outcome.err, "shadingctl: " + directory.Path() + ": expected calls of camera 1, found those of 0, 2\n");
}

TEST(Calls, RecordedAnswersAreCompared) {
  struct {
    char const* name;
    std::string flagAndAnswer;
    std::string options;
    int exitCode;
    char const* answers;
    std::string complaint;
  } const rows[] = {
      {"the same", "0,1,136.66667,-10", "", 0, R"({"different":0,"recorded":1})", ""},
      {"another position", "0,1,136.66669,-10", "", 1, R"({"different":1,"recorded":1})",
       "shadingctl: camera 0, frame 7: the recording has the flag 1 and the position (136.666687, -10), the library "
       "answers 1 and (136.666672, -10)\n"},
      {"another flag", "0,0,136.66667,-10", "", 1, R"({"different":1,"recorded":1})", "the flag 0 and"},
      {"no position", "0,1,,", "", 1, R"({"different":1,"recorded":1})", "the position (none, none), the library"},
      {"asked for otherwise", "0,1,1,2", "--mode last", 0, R"({"different":0,"recorded":0})", ""},
  };
  std::string shown;
  for (auto const& row : rows) {
    TemporaryDirectory const directory;
    WriteCalls(directory, {kStart0, kReadout0, kUpdate0, Calc("0", "0", row.flagAndAnswer), kUpdate0});
    std::string const replay = "replay " + directory.Path() + " " + row.options;
    Outcome const outcome = RunTool(replay + " --format json");
    EXPECT_EQ(outcome.exitCode, row.exitCode) << row.name;
    EXPECT_EQ(nlohmann::json::parse(outcome.out)["summary"]["cameras"][0]["answers"].dump(), row.answers) << row.name;
    EXPECT_NE(outcome.err.find(row.complaint), std::string::npos) << row.name << outcome.err;
    EXPECT_EQ(outcome.err.empty(), row.complaint.empty()) << row.name << outcome.err;
    shown += row.name + ("\n" + LineOf(RunTool(replay + " -o /dev/null").out, "Answers")) + "\n";
  }
  ExpectGolden(shown, "answers.txt");
}

TEST(Calls, EachOfSeveralCamerasHasItsSummary) {
  TemporaryDirectory const directory;
  WriteCalls(directory, {kStart0, Start("2", "5"), kReadout0, Readout("2", "0", "10000000"), kUpdate0, Update("2"),
                         Calc("2", "0"), Calc("0", "0"), Calc("0", "1")});
  ExpectGolden(Replaced(WithoutDurations(RunTool("replay " + directory.Path()).out), directory.Path(), "DIR"),
               "two-cameras.txt");
  auto const json = nlohmann::json::parse(RunTool("replay --format json " + directory.Path()).out);
  auto const& cameras = json["summary"]["cameras"];
  ASSERT_EQ(cameras.size(), 2U);
  for (auto const& [camera, frames] : {std::pair(0, 2), std::pair(2, 1)}) {
    auto const& summary = cameras[camera == 0 ? 0 : 1];
    EXPECT_EQ(summary["camera"], camera);
    EXPECT_EQ(summary["frames"], frames);
  }
}

// The blocks of the page are the files of a recording, in their order.
TEST(Calls, TheExampleOfThePageIsARecording) {
  std::string const page = ReadFile(RECORDING_PAGE);
  TemporaryDirectory const directory;
  std::size_t end = page.find("## Example");
  for (char const* const file : {"recording.csv", "calls.csv", "hall.csv"}) {
    std::size_t const begin = page.find("```\n", end) + 4;
    end = page.find("```\n", begin);
    directory.Write(file, page.substr(begin, end - begin));
    end += 4;
  }
  Outcome const outcome = RunTool("replay --format csv " + directory.Path());
  EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
  EXPECT_EQ(Columns(outcome.out, kRowColumns),
            "41,1639493638769,0,warm_up,0,,,-5667,,,,,2 of 100 samples so far,0\n"
            "41,1639494904798,5,warm_up,0,,,-853,,,,,2 of 100 samples so far,0\n");
  auto const summary = nlohmann::json::parse(RunTool("replay --format json " + directory.Path()).out)["summary"];
  EXPECT_EQ(summary["cameras"][0]["samples"]["batches_split"], 1);
  EXPECT_EQ(summary["cameras"][0]["samples"]["batches_dropped"], 0);
  EXPECT_EQ(summary["cameras"][0]["answers"].dump(), R"({"different":0,"recorded":2})");
  ExpectGolden(Replaced(WithoutDurations(outcome.err), directory.Path(), "DIR"), "page-example.txt");
}

}  // namespace
}  // namespace shadingctl
