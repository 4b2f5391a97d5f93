// Recordings of version 2: accepted and refused input, and counted irregularities.
#include <gmock/gmock.h>
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
  char const* complaint;  // DIR stands for the recording's directory
};

// A recording whose calls end with this line.
Broken Call(char const* name, std::string const& line, char const* complaint) {
  return {name, kSettings, kCallsHeader + kStart + kUpdate + line, kSamples, complaint};
}

TEST(Calls, ThatAreBrokenAreRefusedWithTheirPlaceAndWhatWasExpected) {
  Broken const rows[] = {
      {"NoVersion", "key,value\ncameras,0\n", "", "", "DIR/recording.csv: expected the key version, found none"},
      {"LaterVersion", "key,value\nversion,3\n", "", "",
       "DIR/recording.csv:2: value: expected a version from 1 to 2, found '3'"},
      {"KeyTwice", kSettings + "version,2\n", "", "",
       "DIR/recording.csv:3: key: expected every key once, found 'version'"},
      {"CamerasWithCommas", kSettings + "cameras,0;2\n", "", "",
       "DIR/recording.csv:3: value: expected camera numbers with blanks between, found '0;2'"},
      {"UnknownBatches", kSettings + "batches,some\n", "", "",
       "DIR/recording.csv:3: value: expected delivered, filed or rebuilt, found 'some'"},
      {"UnknownState", kSettings + "state,over\n", "", "",
       "DIR/recording.csv:3: value: expected complete, running or broken, found 'over'"},
      {"NoKind", kSettings, "call,camera\n", kSamples,
       "DIR/calls.csv:1: kind: expected this column, the header does not name it: 'call,camera'"},
      Call("UnknownKind", "3,halt,0,,,,,,,,,,,,,\n",
           "DIR/calls.csv:4: kind: expected one of register, start, register_start, stop, readout, update and "
           "calculate, found 'halt'"),
      Call("CallZero", "0,stop,0,3,,,,,,,,,,,,\n",
           "DIR/calls.csv:4: call: expected a number above 2, the call before, found '0'"),
      Call("CallTwice", kUpdate, "DIR/calls.csv:4: call: expected a number above 2, the call before, found '2'"),
      Call("NoReadout", "3,readout,0,,1,,,,,,,,,,,\n",
           "DIR/calls.csv:4: rolling_shutter_ns: expected a whole number from 0 to 4294967295, found ''"),
      Call("HalfAPair", "3,calculate,0,,,,7,1000,10,,0,1000,,,,\n",
           "DIR/calls.csv:4: exposure1_ns: expected a whole number from 0 to 18446744073709551615, found ''"),
      Call("FlagOfTwo", "3,calculate,0,,,,7,1000,10,,0,,,2,,\n",
           "DIR/calls.csv:4: matched: expected 0 or 1, found '2'"),
      Call("CutInANumber", "3,calculate,0,,,,7,1000,10,,0,,,0,1,2.",
           "DIR/calls.csv:4: expected the end of a line, found the end of the file: it was cut"),
      {"MoreSamplesThanTheCallSays", kSettings, kCallsHeader + kStart + kUpdate, kSamples + "2,950,1,2\n",
       "DIR/calls.csv:3: samples: expected at least 2, the samples of this call in DIR/hall.csv, found '1'"},
      {"SamplesOfAStart", kSettings, kCallsHeader + kStart, Replaced(kSamples, "\n2,", "\n1,"),
       "DIR/hall.csv:2: call: expected the number of an update, call 1 is none, found '1'"},
      {"SamplesRunBackwards", kSettings, kCallsHeader + kStart + kUpdate, kSamples + "1,950,1,2\n",
       "DIR/hall.csv:3: call: expected at least 2, the call of the row before, found '1'"}};
  for (Broken const& row : rows) {
    TemporaryDirectory const directory;
    WriteCalls(directory, row.settings, row.calls, row.samples);
    Outcome const outcome = RunTool("replay --quiet " + directory.Path());
    EXPECT_EQ(outcome.exitCode, 3) << row.name;
    std::string const told = "\n" + Replaced(outcome.err, directory.Path(), "DIR");
    EXPECT_THAT(told, testing::EndsWith("\nshadingctl: "s + row.complaint + "\n")) << row.name;
  }
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
  char const* lack;   // in words; empty: none
  char const* json;
};

// Each value alone. Calls that the numbers show as missing are among those that the capture says it lost.
TEST(Calls, OfAnIncompleteCaptureSayWhatIsMissing) {
  char const* const kEnd =
      "its capture has no end, so the process was killed or is still running: the last calls may be "
      "missing";
  Captured const captures[] = {
      {"state,complete\nlost_calls, 0\nlost_samples, 0\n", "2", "",
       R"({"complete":true,"state":"complete","lost_calls":0,"lost_samples":0})"},
      {"state, running\n", "2", kEnd, R"({"complete":false,"state":"running","lost_calls":0,"lost_samples":0})"},
      {"state,  broken\nlost_calls,   7\nlost_samples, 5\n", "4",
       "its capture broke off where a file could not be written: what came later is missing; 7 calls and 5 samples are "
       "lost",
       R"({"complete":false,"state":"broken","lost_calls":7,"lost_samples":5})"},
      {"", "4", "2 calls and 0 samples are lost",
       R"({"complete":false,"state":"complete","lost_calls":2,"lost_samples":0})"},
  };
  for (Captured const& captured : captures) {
    TemporaryDirectory const directory;
    WriteCalls(directory, kSettings + captured.keys, kCallsHeader + kStart + captured.calls + kUpdate.substr(1),
               Replaced(kSamples, "\n2,", "\n"s + captured.calls + ","));
    std::string const path = directory.Path();
    std::string const lack = captured.lack;
    Outcome const json = RunTool("replay --format json -o " + path + "/result " + path);
    EXPECT_EQ(json.exitCode, 0) << "nobody asked for a whole one: " << json.err;
    std::string const remark = path + ": " + lack + "\n";
    EXPECT_EQ(json.err.find(remark) != std::string::npos, !lack.empty()) << json.err;
    std::string const line = "Capture    " + lack + "\n";
    EXPECT_EQ(json.out.find(line) != std::string::npos, !lack.empty()) << json.out;
    EXPECT_NE(ReadFile(path + "/result").find("\"capture\":"s + captured.json), std::string::npos) << captured.keys;
    Outcome const gated = RunTool("replay --summary --fail-on incomplete " + path);
    EXPECT_EQ(gated.err.find("--fail-on incomplete: expected a whole recording") != std::string::npos, !lack.empty());
    EXPECT_EQ(gated.exitCode, lack.empty() ? 0 : 1) << gated.err;
    Outcome const explained = RunTool("explain " + path);
    EXPECT_EQ(explained.out.find(line) != std::string::npos, !lack.empty()) << explained.out;
    EXPECT_EQ(explained.err.find(remark) != std::string::npos, !lack.empty()) << explained.err;
    Outcome const summarized = RunTool("summarize " + path + "/result");
    EXPECT_EQ(summarized.err.find(remark) != std::string::npos, !lack.empty()) << summarized.err;
  }
}

}  // namespace
}  // namespace shadingctl
