// OIS hall dump files: read back, and refused where they are not as the library writes them.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/shadingctl/Program.h"

namespace shadingctl {
namespace {

namespace fs = std::filesystem;

std::string const kDump =
    "frame: 42\n"
    "\t\"OIS hall X\": -0.500000\n"
    "\t\"OIS hall Y\": 12.250000\n"
    "\t\"OIS hall X\": 1.000000\n"
    "\t\"OIS hall Y\": 12.750000\n"
    "\t\"match ois hall0 X\": 0.250000\n"
    "\t\"match ois hall0 y\": 12.500000\n"
    "\t\"match ois hall1 X\": 0.000000\n"
    "\t\"match ois hall1 y\": 0.000000\n"
    "\t\"exposure_time\": 10000\n"
    "\t\"shutter_time\": 20000\n";

constexpr char const* kDumpColumns =
    "kind,camera,frame,printed_frame,start_of_frame_us,samples,hall0_x,hall0_y,hall1_x,hall1_y,exposure_us,shutter_us";

Outcome Dumps(std::string const& arguments) { return RunTool("dumps --format csv " + arguments); }

TEST(Dumps, ThePageShowsTheExampleAndHowItIsListed) {
  std::string const page = ReadFile(DUMP_PAGE);
  EXPECT_NE(page.find("```\n" + kDump + "```\n"), std::string::npos);
  TemporaryDirectory const directory;
  directory.Write("preview_camera_0_frame_42_oishall.txt", kDump);
  std::string const table = RunTool("dumps " + directory.Path()).out;
  EXPECT_EQ(Lines(table).size(), 3U);
  EXPECT_NE(page.find("```\n" + table + "```\n"), std::string::npos) << table;
  ExpectGolden(RunTool("dumps --samples " + directory.Path()).out, "dump-samples.txt");
}

TEST(Dumps, FramesAreListedByCameraKindAndNumber) {
  TemporaryDirectory const directory;
  auto const write = [&](char const* name, char const* frame) {
    directory.Write(name, Replaced(kDump, "frame: 42", std::string("frame: ") + frame));
  };
  write("preview_camera_0_frame_-2147483648_oishall.txt", "-2147483648");
  write("preview_camera_0_frame_2147483647_oishall.txt", "2147483647");
  write("capture_camera_0_frame_5_-7_oishall.txt", "5");
  write("capture_camera_-1_frame_-1_999990000_oishall.txt", "-1");
  // The largest number, and the mean of one that is none.
  directory.Write("preview_camera_0_frame_42_oishall.txt",
                  Replaced(Replaced(Replaced(kDump, "-0.500000", "nan"), "0.250000", "-nan"), "\"OIS hall X\": 1.",
                           "\"OIS hall X\": -340282346638528859811704183484516925440."));
  std::string const rest = ",2,0.250000,12.500000,0.000000,0.000000,10000,20000\n";
  Outcome const outcome = Dumps(directory.Path());
  EXPECT_EQ(outcome.err, "");
  EXPECT_EQ(outcome.exitCode, 0);
  EXPECT_EQ(Columns(outcome.out, kDumpColumns),
            "capture,-1,4294967295,-1,999990000" + rest + "preview,0,42,42," + Replaced(rest, "0.250000", "-nan") +
                "preview,0,2147483647,2147483647," + rest + "preview,0,2147483648,-2147483648," + rest +
                "capture,0,5,5,-7" + rest);
  auto const json = nlohmann::json::parse(RunTool("dumps --format json " + directory.Path()).out)["dumps"];
  ASSERT_EQ(json.size(), 5U);
  EXPECT_EQ(json[0]["start_of_frame_us"], 999990000);
  EXPECT_EQ(json[0]["samples"].dump(), R"([{"x":-0.5,"y":12.25},{"x":1.0,"y":12.75}])");
  EXPECT_TRUE(json[1]["samples"][0]["x"].is_null());
  EXPECT_TRUE(json[1]["hall0"]["x"].is_null());
  EXPECT_EQ(json[1]["samples"][1]["x"], -340282346638528859811704183484516925440.0);
}

TEST(Dumps, BrokenFilesAreReportedWithTheirLineAndTheRestIsRead) {
  std::string span;
  for (int i = 0; i < 99; ++i) span += "\t\"OIS hall X\": 1.000000\n\t\"OIS hall Y\": 1.000000\n";
  struct {
    char const* name;
    std::string text;
  } const rows[] = {
      {"empty", ""},
      {"another frame than in the name", Replaced(kDump, ": 42", ": 41")},
      {"CR LF", Replaced(kDump, "\n", "\r\n")},
      {"cut inside a line", kDump.substr(0, 20)},
      {"cut after a sample", kDump.substr(0, kDump.find("\t\"OIS hall X\": 1"))},
      {"decimal comma", Replaced(kDump, "12.250000", "12,250000")},
      {"two decimals", Replaced(kDump, "12.250000", "12.25")},
      {"leading zero", Replaced(kDump, "12.250000", "012.250000")},
      {"capital y in the result", Replaced(kDump, "hall0 y", "hall0 Y")},
      {"101 samples", Replaced(kDump, "\t\"match ois hall0 X", span + "\t\"match ois hall0 X")},
      {"exposure beyond 64 bits", Replaced(kDump, ": 10000", ": 9223372036854775808")},
      {"plus sign", Replaced(kDump, ": 20000", ": +1")},
      {"no end of the last line", kDump.substr(0, kDump.size() - 1)},
      {"empty line at the end", kDump + "\n"},
  };
  TemporaryDirectory const directory;
  auto const nameOf = [](int frame) { return "preview_camera_1_frame_" + std::to_string(frame) + "_oishall.txt"; };
  int frame = 10;
  for (auto const& row : rows) {
    directory.Write(nameOf(frame), Replaced(row.text, "frame: 42", "frame: " + std::to_string(frame)));
    ++frame;
  }
  for (char const* const name :
       {"notes.txt", "capture_camera_0_frame_1_oishall.txt", "preview_camera_0_frame_1_2_oishall.txt",
        "preview_camera_00_frame_1_oishall.txt", "preview_camera_0_frame_2147483648_oishall.txt",
        "preview_camera_0_frame_1_oishall.txt.tmp", "capture_camera_0_frame_1_-0_oishall.txt"}) {
    directory.Write(name, kDump);
  }
  fs::create_directory(directory.Path() + "/capture_camera_0_frame_1_2_oishall.txt");
  directory.Write("preview_camera_9_frame_42_oishall.txt", kDump);
  Outcome const outcome = Dumps(directory.Path());
  std::string told = Replaced(outcome.err, directory.Path() + "/", "");
  frame = 10;
  for (auto const& row : rows) told = Replaced(told, nameOf(frame++), row.name);
  ExpectGolden(told, "broken-dumps.txt");
  EXPECT_EQ(outcome.exitCode, 1);
  EXPECT_EQ(Columns(outcome.out, kDumpColumns),
            "preview,9,42,42,,2,0.250000,12.500000,0.000000,0.000000,10000,20000\n");
}

TEST(Dumps, AFileCutAnywhereIsNotTakenForAWholeOne) {
  TemporaryDirectory const directory;
  for (std::size_t size = 0; size <= kDump.size(); ++size) {
    directory.Write("preview_camera_" + std::to_string(size) + "_frame_42_oishall.txt", kDump.substr(0, size));
  }
  Outcome const outcome = Dumps(directory.Path());
  EXPECT_EQ(Lines(outcome.err).size(), kDump.size());
  EXPECT_EQ(Lines(outcome.out).size(), 2U);
}

// Samples (-0.5, 12.25), (1, 12.75) and, in the longer ones, (0.25, 12.5) between them: the position as it may be.
TEST(Dumps, APositionComesFromItsSamples) {
  std::string const longer = Replaced(kDump, "\t\"OIS hall X\": 1.0",
                                      "\t\"OIS hall X\": 0.250000\n\t\"OIS hall Y\": 12.500000\n\t\"OIS hall X\": 1.0");
  struct {
    std::string dump;
    char const* x;
    char const* y;
    bool isSound;
  } const rows[] = {
      {kDump, "0.250000", "12.500000", true},  // mean
      {kDump, "0.250001", "12.500000", true},  // as near as six decimals tell
      {kDump, "0.250002", "12.500000", false},
      {kDump, "1.000000", "12.750000", true},    // maximum, last
      {kDump, "-0.500000", "12.250000", true},   // middle: of two the first
      {kDump, "-0.500000", "12.750000", false},  // no calculation mixes
      {kDump, "0.250000", "12.750000", false},
      {kDump, "0.000000", "0.000000", false},  // as before the first position
      {kDump, "nan", "12.500000", false},
      {longer, "0.250000", "12.500000", true},  // mean, middle
      {longer, "-0.500000", "12.250000", false},
  };
  for (auto const& row : rows) {
    TemporaryDirectory const directory;
    std::string const position = std::string("hall0 X\": ") + row.x + "\n\t\"match ois hall0 y\": " + row.y;
    std::string const file = directory.Path() + "/preview_camera_0_frame_42_oishall.txt";
    directory.Write("preview_camera_0_frame_42_oishall.txt",
                    Replaced(row.dump, "hall0 X\": 0.250000\n\t\"match ois hall0 y\": 12.500000", position));
    Outcome const outcome = Dumps(file);
    std::string const line = row.dump == kDump ? ":6: " : ":8: ";
    EXPECT_EQ(outcome.exitCode, row.isSound ? 0 : 1) << row.x << " " << row.y;
    EXPECT_EQ(outcome.err, row.isSound ? ""
                                       : file + line +
                                             "expected the mean, maximum, middle or last of the samples, "
                                             "found (" +
                                             row.x + ", " + row.y + ")\n");
    EXPECT_EQ(Lines(outcome.out).size(), 2U) << "listed in any case";
  }
}

TEST(Dumps, ADirectoryThatCannotBeReadDoesNotHideTheOthers) {
  TemporaryDirectory const empty;
  Outcome const none = Dumps(empty.Path());
  EXPECT_EQ(none.exitCode, 3);
  EXPECT_EQ(none.err, "shadingctl: " + empty.Path() + ": expected OIS hall dump files, found none to read\n");
  TemporaryDirectory const full;
  full.Write("preview_camera_0_frame_42_oishall.txt", kDump);
  Outcome const half = Dumps("/no/folder " + full.Path());
  EXPECT_EQ(half.exitCode, 3);
  EXPECT_EQ(half.err, "shadingctl: /no/folder: cannot be read: No such file or directory\n");
  EXPECT_EQ(Lines(half.out).size(), 2U) << "the other directory is read";
}

// ---- Made by a replay

class ReplayedDumps : public testing::Test {
 protected:
  ReplayedDumps() : mHome(fs::current_path()) { fs::current_path(mPlace.Path()); }
  ~ReplayedDumps() override { fs::current_path(mHome); }

  static std::size_t FilesIn(std::string const& directory) {
    std::size_t count = 0;
    for (auto const& entry : fs::recursive_directory_iterator(directory)) count += entry.is_regular_file() ? 1U : 0U;
    return count;
  }

  TemporaryDirectory mPlace;
  fs::path mHome;
};

TEST_F(ReplayedDumps, TheBuiltInSessionIsReadBackToTheSameNumbers) {
  for (auto const& [type, kind] : std::map<std::string, std::string>{{"0", "preview"}, {"5", "capture"}}) {
    Outcome const replay = RunTool("replay --format csv -o result" + type + ".csv --log library" + type +
                                   ".log --dump preview,capture --dump-dir made/by" + type + " --type " + type);
    ASSERT_EQ(replay.exitCode, 0) << replay.err;
    std::map<std::string, std::map<std::string, std::string>> matched;  // by frame
    for (auto const& row : Rows(ReadFile("result" + type + ".csv"))) {
      if (row.at("match") == "start" || row.at("match") == "carried") matched[row.at("frame")] = row;
    }
    ASSERT_GT(matched.size(), 200U);
    EXPECT_TRUE(fs::exists("library" + type + ".log"));
    EXPECT_EQ(FilesIn("made/by" + type), matched.size());

    Outcome const dumps = Dumps("made/by" + type);
    EXPECT_EQ(dumps.err, "");
    auto const rows = Rows(dumps.out);
    ASSERT_EQ(rows.size(), matched.size());
    for (auto dump : rows) {
      std::string const name = dump["frame"];
      ASSERT_EQ(matched.count(name), 1U) << name;
      auto& frame = matched[name];
      EXPECT_EQ(dump["kind"] + " " + dump["camera"], kind + " 0");
      EXPECT_EQ(std::stoi(dump["samples"]), std::stoi(frame["end_index"]) - std::stoi(frame["start_index"]) + 1)
          << name;
      EXPECT_NEAR(std::stod(dump["hall0_x"]), std::stod(frame["hall_x"]), 6e-7) << name;
      EXPECT_NEAR(std::stod(dump["hall0_y"]), std::stod(frame["hall_y"]), 6e-7) << name;
      EXPECT_EQ(dump["shutter_us"], "15980");
    }
  }
}

TEST_F(ReplayedDumps, RelativePathsMeanWhatTheUserWrote) {
  fs::create_directory("session");
  TemporaryDirectory const recording;
  WriteWorkedRecording(recording);
  fs::copy(recording.Path(), "session");
  mPlace.Write("session/device.json",
               R"({"configuration": {"FeatureOisCompensationSupport": {"sensorMaps": [4, 6]}},
                   "sensors": [{"sensorId": 4, "sensorIndex": 0, "device": 1}]})");
  fs::create_symlink(fs::path(PROGRAM_DIRECTORY).parent_path() / "lib", "lib");
  Outcome const outcome = RunTool(
      "replay session --device session --library lib/libvcam_shadingutil.so --type 1 --dump capture --dump-dir dumps "
      "--quiet --format csv -o result.csv");
  EXPECT_EQ(outcome.err, "");
  EXPECT_EQ(outcome.exitCode, 0);
  EXPECT_EQ(FilesIn("dumps"), 1U);
  std::string const dump = ReadFile("dumps/data/vendor/camera_dump/capture_camera_4_frame_7_999990000_oishall.txt");
  EXPECT_EQ(Lines(dump).size(), 2U * 21 + 7);
  EXPECT_NE(dump.find("\t\"match ois hall0 X\": 136.666672\n"), std::string::npos) << dump;
  EXPECT_EQ(Lines(ReadFile("result.csv")).size(), 2U);

  // Older files would mix with new ones; and a kind that is off leaves none.
  Outcome const again = RunTool("replay session --device session --type 1 --dump capture --dump-dir dumps --quiet");
  EXPECT_EQ(again.exitCode, 3);
  EXPECT_EQ(again.err, "shadingctl: dumps/data/vendor/camera_dump: expected an empty folder, found older files\n");
  Outcome const off = RunTool("replay session --device session --type 1 --dump preview --dump-dir none --quiet");
  EXPECT_EQ(off.exitCode, 0);
  EXPECT_EQ(off.err,
            "shadingctl: frames of type 1 write capture dumps, which --dump does not name: there will be none\n");
  EXPECT_EQ(FilesIn("none"), 0U);
}

// In a file system of 32 KiB, or of so many files, where the first dumps fit and the others do not.
TEST_F(ReplayedDumps, ThatCannotBeWrittenAreCountedWithTheReason) {
  if (RunScript("unshare -m true || unshare -Urm true").exitCode != 0) GTEST_SKIP() << "no mount namespace to be had";
  struct {
    char const* mount;
    char const* prepare;
    char const* told;  // after the number of dumps
  } const rows[] = {
      {"size=32k", "true", " cut: No space left on device\n"},
      {"nr_inodes=20", "true", " are missing and 0 are cut: No space left on device\n"},
      {"size=1m", "mkdir -p disk/data/vendor/camera_dump && mount -o remount,ro disk",
       "of 285 dumps 285 are missing and 0 are cut: Read-only file system\n"},
  };
  for (auto const& row : rows) {
    Outcome const outcome = RunScript(std::string("if [ -z \"$INSIDE\" ]; then INSIDE=1; export INSIDE\n"
                                                  "  unshare -m true 2>/dev/null && exec unshare -m sh \"$0\"; exec "
                                                  "unshare -Urm sh \"$0\"; fi\n"
                                                  "mkdir -p disk && mount -t tmpfs -o ") +
                                      row.mount + " tmpfs disk && " + row.prepare +
                                      " && shadingctl replay --dump preview --dump-dir disk --format csv -o rows.csv");
    EXPECT_EQ(outcome.exitCode, 3) << outcome.err;
    EXPECT_EQ(outcome.err.rfind("shadingctl: disk/data/vendor/camera_dump: of 285 dumps ", 0), 0U) << outcome.err;
    EXPECT_NE(outcome.err.find(row.told), std::string::npos) << outcome.err;
    EXPECT_EQ(Lines(ReadFile("rows.csv")).size(), 298U) << "the rows are complete";
  }
}

}  // namespace
}  // namespace shadingctl
