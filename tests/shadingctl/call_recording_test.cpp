// Recordings of version 2: accepted and refused input, and counted irregularities.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "tests/shadingctl/Program.h"

namespace shadingctl {
namespace {

using std::string_literals::operator""s;

std::string const kSettings = "key,value\nversion,2\n";
std::string const kCallsHeader =
    "call,kind,camera,sensor_type,sensor_mode,rolling_shutter_ns,frame,timestamp_ns,exposure_ns,samples,type,"
    "timestamp1_ns,exposure1_ns,matched,answer,hall_x\n";
std::string const kStart = "1,register_start,0,3,,,,,,,,,,,,\n";
std::string const kUpdate = "2,update,0,,,,7,1000,,1,,,,,,\n";
std::string const kSamples = "call,timestamp_ns,hall_x,hall_y\n2,900,1,2\n";

void WriteCalls(TemporaryDirectory const& directory, std::string const& settings, std::string const& calls,
                std::string const& samples) {
  directory.Write("recording.csv", settings);
  directory.Write("calls.csv", calls);
  directory.Write("hall.csv", samples);
}

struct Broken {
  char const* name;
  std::string settings;
  std::string calls;
  std::string samples;
};

// A recording whose calls end with this line.
Broken Call(char const* name, std::string const& line) {
  return {name, kSettings, kCallsHeader + kStart + kUpdate + line, kSamples};
}

TEST(Calls, ThatAreBrokenAreRefusedWithTheirPlaceAndWhatWasExpected) {
  Broken const rows[] = {
      {"NoVersion", "key,value\ncameras,0\n", "", ""},
      {"LaterVersion", "key,value\nversion,3\n", "", ""},
      {"KeyTwice", kSettings + "version,2\n", "", ""},
      {"CamerasWithCommas", kSettings + "cameras,0;2\n", "", ""},
      {"UnknownBatches", kSettings + "batches,some\n", "", ""},
      {"UnknownState", kSettings + "state,over\n", "", ""},
      {"NoKind", kSettings, "call,camera\n", kSamples},
      Call("UnknownKind", "3,halt,0,,,,,,,,,,,,,\n"),
      Call("CallZero", "0,stop,0,3,,,,,,,,,,,,\n"),
      Call("CallTwice", kUpdate),
      Call("NoReadout", "3,readout,0,,1,,,,,,,,,,,\n"),
      Call("HalfAPair", "3,calculate,0,,,,7,1000,10,,0,1000,,,,\n"),
      Call("FlagOfTwo", "3,calculate,0,,,,7,1000,10,,0,,,2,,\n"),
      Call("CutInANumber", "3,calculate,0,,,,7,1000,10,,0,,,0,1,2."),
      {"MoreSamplesThanTheCallSays", kSettings, kCallsHeader + kStart + kUpdate, kSamples + "2,950,1,2\n"},
      {"SamplesOfAStart", kSettings, kCallsHeader + kStart, Replaced(kSamples, "\n2,", "\n1,")},
      {"SamplesRunBackwards", kSettings, kCallsHeader + kStart + kUpdate, kSamples + "1,950,1,2\n"}};
  std::string told;
  for (Broken const& row : rows) {
    TemporaryDirectory const directory;
    WriteCalls(directory, row.settings, row.calls, row.samples);
    Outcome const outcome = RunTool("replay --quiet " + directory.Path());
    EXPECT_EQ(outcome.exitCode, 3) << row.name;
    told += row.name + ("\n" + Replaced(outcome.err, directory.Path(), "DIR"));
  }
  ExpectGolden(told, "refused-calls.txt");
}

TEST(Calls, OfARecordingWithTheLibrarysOwnBatchesArePlayedWithAWarning) {
  for (bool const isFiled : {true, false}) {
    TemporaryDirectory const directory;
    WriteCalls(directory, kSettings + (isFiled ? "batches,filed\n" : "batches,delivered\n"),
               kCallsHeader + kStart + kUpdate, kSamples);
    Outcome const outcome = RunTool("replay --quiet " + directory.Path());
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    std::string const warning = directory.Path() + ": its batches are those that the library filed";
    EXPECT_EQ(outcome.err.find(warning) != std::string::npos, isFiled) << outcome.err;
  }
}

struct Captured {
  char const* keys;   // of recording.csv
  char const* calls;  // the number of the update, behind which calls are missing
  char const* json;
};

// Each value alone. Calls that the numbers show as missing are among those that the capture says it lost.
TEST(Calls, OfAnIncompleteCaptureSayWhatIsMissing) {
  Captured const captures[] = {
      {"state,complete\nlost_calls, 0\nlost_samples, 0\n", "2",
       R"({"complete":true,"state":"complete","lost_calls":0,"lost_samples":0})"},
      {"state, running\n", "2", R"({"complete":false,"state":"running","lost_calls":0,"lost_samples":0})"},
      {"state,  broken\nlost_calls,   7\nlost_samples, 5\n", "4",
       R"({"complete":false,"state":"broken","lost_calls":7,"lost_samples":5})"},
      {"", "4", R"({"complete":false,"state":"complete","lost_calls":2,"lost_samples":0})"},
  };
  std::string lacks;
  for (Captured const& captured : captures) {
    TemporaryDirectory const directory;
    WriteCalls(directory, kSettings + captured.keys, kCallsHeader + kStart + captured.calls + kUpdate.substr(1),
               Replaced(kSamples, "\n2,", "\n"s + captured.calls + ","));
    std::string const path = directory.Path();
    Outcome const json = RunTool("replay --format json -o " + path + "/result " + path);
    EXPECT_EQ(json.exitCode, 0) << "nobody asked for a whole one: " << json.err;
    std::string const line = LineOf(json.out, "Capture    ");
    EXPECT_EQ(line.empty(), &captured == captures) << json.out;
    lacks += line + (line.empty() ? "" : "\n");
    std::string const remark = path + Replaced(line, "Capture    ", ": ") + "\n";
    bool const lacksSome = !line.empty();
    EXPECT_EQ(json.err.find(remark) != std::string::npos, lacksSome) << json.err;
    EXPECT_NE(ReadFile(path + "/result").find("\"capture\":"s + captured.json), std::string::npos) << captured.keys;
    Outcome const gated = RunTool("replay --summary --fail-on incomplete " + path);
    EXPECT_EQ(gated.err.find("--fail-on incomplete: ") != std::string::npos, lacksSome) << gated.err;
    EXPECT_EQ(gated.exitCode, lacksSome ? 1 : 0) << gated.err;
    Outcome const explained = RunTool("explain " + path);
    EXPECT_EQ(LineOf(explained.out, "Capture    "), line) << explained.out;
    EXPECT_EQ(explained.err.find(remark) != std::string::npos, lacksSome) << explained.err;
    Outcome const summarized = RunTool("summarize " + path + "/result");
    EXPECT_EQ(summarized.err.find(remark) != std::string::npos, lacksSome) << summarized.err;
  }
  ExpectGolden(lacks, "incomplete-captures.txt");
}

}  // namespace
}  // namespace shadingctl
