// Recordings of version 1: accepted and refused input, and counted irregularities.
#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "tests/shadingctl/Program.h"

namespace shadingctl {
namespace {

using std::string_literals::operator""s;

std::string const kFrameRows = "frame,timestamp_ns,exposure_ns,rolling_shutter_ns\n1,1000,10,20\n2,2000,10,20\n";
std::string const kHall = "frame,timestamp_ns,hall_x,hall_y\n1,900,1.5,2.5\n2,1900,1.25,-3\n";

struct BrokenFiles {
  char const* name;
  std::optional<std::string> frames;  // no file when empty
  std::optional<std::string> hall;
};

std::string Hall(std::string const& secondLine) { return "frame,timestamp_ns,hall_x,hall_y\n1,900,1,2\n" + secondLine; }

std::string Frames(std::string const& secondLine) {
  return "frame,timestamp_ns,exposure_ns,rolling_shutter_ns\n5,1000,10,20\n" + secondLine;
}

TEST(Recording, ThatIsBrokenIsRefusedWithItsPlaceAndWhatWasExpected) {
  BrokenFiles const rows[] = {
      {"NoFrameFile", {}, kHall},
      {"NoHallFile", kFrameRows, {}},
      {"EmptyFile", "", kHall},
      {"MissingColumn", kFrameRows, "frame,timestamp_ns,hall_x\n1,900,1\n"},
      {"ColumnTwice", kFrameRows, "frame,hall_x,timestamp_ns,hall_x,hall_y\n"},
      {"TooFewFields", kFrameRows, Hall("1,950,1\n")},
      {"TooManyFields", kFrameRows, Hall("1,950,1,2,3\n")},
      {"NoNumber", kFrameRows, Hall("1,950,1,two\n")},
      {"TextAfterNumber", kFrameRows, Hall("1,950,1px,2\n")},
      {"NoPosition", kFrameRows, Hall("1,950,,2\n")},
      {"EndlessPosition", kFrameRows, Hall("1,950,inf,2\n")},
      {"PositionBeyondSinglePrecision", kFrameRows, Hall("1,950,1e39,2\n")},
      {"PositionBeyondAnyPrecision", kFrameRows, Hall("1,950,1,-1e999\n")},
      {"ControlBytes", kFrameRows, Hall("1,950,\x1b[2J,2\n")},
      {"TimeBeyond64Bits", kFrameRows, Hall("1,9223372036854775808,1,2\n")},
      {"NegativeExposure", Frames("6,2000,-1,20\n"), kHall},
      {"ReadoutBeyond32Bits", Frames("6,2000,10,4294967296\n"), kHall},
      {"FrameTwice", Frames("5,2000,10,20\n"), kHall},
      {"HallFrameRunsBackwards", kFrameRows, Hall("0,950,1,2\n")},
      {"HallFrameBeyond32Bits", kFrameRows, Hall("4294967296,950,1,2\n")},
      {"ZeroByte", kFrameRows, Hall("1,950,1\0,2\n"s)},
      {"EndlessLine", kFrameRows, Hall(std::string((1 << 20) + 1, '1'))},
      // Line 5 counts the blank line before it, and comes after the last frame: it is read all the same.
      {"AfterTheLastFrame", kFrameRows, Hall(" \n2,950,1,2\n3,960,x,2\n")}};
  std::string told;
  for (BrokenFiles const& row : rows) {
    TemporaryDirectory const directory;
    if (row.frames) directory.Write("frames.csv", *row.frames);
    if (row.hall) directory.Write("hall.csv", *row.hall);
    Outcome const outcome = RunTool("replay --quiet " + directory.Path());
    EXPECT_EQ(outcome.exitCode, 3) << row.name;
    told += row.name + ("\n" + Replaced(outcome.err, directory.Path(), "DIR"));
  }
  ExpectGolden(told, "refused-recordings.txt");
}

nlohmann::json SamplesOf(std::string const& recording) {
  return nlohmann::json::parse(RunTool("replay --format json " + recording).out)["summary"]["cameras"][0]["samples"];
}

TEST(Recording, OdditiesAreCountedWithTheirFirstLine) {
  TemporaryDirectory const directory;
  directory.Write("frames.csv",
                  "frame,timestamp_ns,exposure_ns,rolling_shutter_ns\n"
                  "10,1000,10,20\n12,3000,10,20\n13,2000,10,20\n15,1500,10,20\n");
  std::string hall = "frame,timestamp_ns,hall_x,hall_y\n";
  struct {
    int frame;
    std::vector<long> timesUs;
  } const rows[] = {
      {9, {1000}},
      {10, {2000, 2900, 4000}},  // intervals 1000, 900, 1100
      {11, {2901}},
      {12, {4002, 5000, 6000}},               // 2901 and 4002 are repeats; 998, 1000
      {15, {5000, 6000, 7000, 9500, 10500}},  // the very same times; 1000, a gap of 2500, 1000
      {16, {10600}},
  };
  for (auto const& row : rows) {
    for (long const timeUs : row.timesUs)
      hall += std::to_string(row.frame) + "," + std::to_string(timeUs * 1000) + ",1,1\n";
  }
  constexpr std::size_t kLongestLine = 1048576;
  std::string const first = "9,1000000,1,1";  // made as long as a line may be
  hall = Replaced(hall, first, "9,1000000,1." + std::string(kLongestLine - first.size() - 1, '0') + ",1");
  directory.Write("hall.csv", hall);
  Outcome const outcome = RunTool("replay --format json -o " + directory.Path() + "/result " + directory.Path());
  EXPECT_EQ(outcome.exitCode, 0);
  ExpectGolden(Replaced(WithoutDurations(outcome.out), directory.Path(), "DIR"), "oddities.txt");
  auto const result = nlohmann::json::parse(Replaced(ReadFile(directory.Path() + "/result"), directory.Path(), "DIR"));
  EXPECT_EQ(result["frames"].size(), 4U);
  // 8 new samples after the first in 9.5 ms. Jitter: 1000, 900, 1100, 998, 1000, 1000, 1000 have the mean 6998 / 7 and
  // the mean square 7016004 / 7.
  auto const& samples = result["summary"]["cameras"][0]["samples"];
  EXPECT_NEAR(samples["rate_hz"].get<double>(), 8 / 0.0095, 0.1);
  EXPECT_NEAR(samples["jitter_us"].get<double>(), 53.5, 0.05);
  auto copy = samples;
  for (char const* const named : {"rate_hz", "jitter_us", "interval_error"}) copy.erase(named);
  EXPECT_EQ(copy.dump(),
            R"({"backward_steps":2,"batches":3,"batches_dropped":0,"batches_split":2,"delivered":13,"duplicates":2,)"
            R"("gaps":1,"interval_us":1000.0,"longest_us":2500.0,"repeated":4})");
  EXPECT_EQ(result["summary"]["found"].dump(),
            R"({"empty_batches":{"count":1,"first":"DIR/frames.csv:4"},)"
            R"("frame_times_backward":{"count":2,"first":"DIR/frames.csv:4"},)"
            R"("lost_calls":{"count":0,"first":null},"lost_samples":{"count":0,"first":null},)"
            R"("sample_times_backward":{"count":2,"first":"DIR/hall.csv:6"},)"
            R"("undelivered_samples":{"count":1,"first":"DIR/hall.csv:15"},)"
            R"("unlisted_samples":{"count":2,"first":"DIR/hall.csv:2"}})");

  directory.Write("hall.csv", "frame,timestamp_ns,hall_x,hall_y\n10,-5,1,1\n");
  EXPECT_TRUE(SamplesOf(directory.Path())["rate_hz"].is_null()) << "one sample has no rate";
}

TEST(Recording, OneOfItsFilesStandsForIt) {
  TemporaryDirectory const old;
  WriteWorkedRecording(old);
  TemporaryDirectory const present;
  ASSERT_EQ(RunTool("generate --frames 9 " + present.Path()).exitCode, 0);
  for (auto const& [directory, files] :
       {std::pair<std::string, std::vector<std::string>>{old.Path(), {"frames", "hall"}},
        {present.Path(), {"recording", "calls", "hall"}}}) {
    std::string const expected = RunTool("replay -q " + directory).out;
    for (auto const& file : files) EXPECT_EQ(RunTool("replay -q " + directory + "/" + file + ".csv").out, expected);
    EXPECT_EQ(RunScript("cd " + directory + " && shadingctl replay -q --format csv " + files[0] + ".csv").out,
              RunTool("replay -q --format csv " + directory).out);
  }
}

TEST(Generate, WhatItWritesReplaysAsTheBuiltInSession) {
  TemporaryDirectory const directory;
  std::string const recording = directory.Path() + "/new/session";
  Outcome const written = RunTool("generate " + recording);
  ASSERT_EQ(written.exitCode, 0) << written.err;
  EXPECT_EQ(RunTool("replay --quiet --format csv " + recording).out, RunTool("replay --quiet --format csv").out);

  Outcome const again = RunTool("generate --seed 2 " + recording);
  EXPECT_EQ(again.exitCode, 3);
  EXPECT_EQ(again.err, "shadingctl: " + recording + "/recording.csv: is there already; --force writes it anew\n");
  EXPECT_EQ(RunTool("generate --seed 2 --force " + recording).exitCode, 0);
  EXPECT_NE(RunTool("replay --quiet --format csv " + recording).out, RunTool("replay --quiet --format csv").out);
}

TEST(Generate, IrregularitiesAreThereWhenAskedForOnly) {
  TemporaryDirectory const directory;
  auto const samplesWith = [&](std::string const& overlap) {
    RunTool(
        "generate --force --frames 200 --frame-rate 30 --hall-rate 500 --jitter-us 100 --drop 0 --late 0 "
        "--pause-us 0 --overlap " +
        overlap + " " + directory.Path());
    return SamplesOf(directory.Path());
  };
  auto const regular = samplesWith("0");
  EXPECT_EQ(regular["batches"], 200);
  EXPECT_NEAR(regular["rate_hz"].get<double>(), 500, 0.05);
  EXPECT_NEAR(regular["longest_us"].get<double>(), 2193.6, 0.05);
  for (char const* const none : {"gaps", "backward_steps", "repeated"}) EXPECT_EQ(regular[none], 0) << none;
  auto const result = nlohmann::json::parse(RunTool("replay --format json " + directory.Path()).out);
  for (auto const& [name, oddity] : result["summary"]["found"].items()) EXPECT_EQ(oddity["count"], 0) << name;
  EXPECT_EQ(result["summary"]["cameras"][0]["recorded_ns"], 6633333267);
  auto const overlapping = samplesWith("1");
  EXPECT_EQ(overlapping["gaps"], 0);
  EXPECT_EQ(overlapping["backward_steps"], 199) << "every batch but the first";
}

TEST(Recording, OfARunningPersonReplaysWhole) {
  if (!std::filesystem::exists(RUNNING_RECORDING)) GTEST_SKIP() << "no recording in " RUNNING_RECORDING;
  Outcome const outcome = RunTool("replay --format json " RUNNING_RECORDING);
  EXPECT_EQ(outcome.exitCode, 0);
  auto const result = nlohmann::json::parse(outcome.out);
  EXPECT_EQ(result["frames"].size(), 301U);
  EXPECT_EQ(result["summary"]["cameras"][0]["matches"].dump(),
            R"({"carried":107,"no_start":1,"no_window":0,"off":0,"single":0,"start":174,"warm_up":19})");
}

}  // namespace
}  // namespace shadingctl
