// Frames and samples from CSV files of foreign columns and units, through the program.
#include <fmt/format.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <string>
#include <utility>

#include "hosting/UnusableInput.h"
#include "recording/Recording.h"
#include "tests/shadingctl/Program.h"
#include "tools/import/Imports.h"

namespace shadingctl {
namespace {

// In seconds with nine decimals.
std::string Seconds(std::uint64_t ns) { return fmt::format("{}.{:09}", ns / 1000000000, ns % 1000000000); }

// A recording as another program might have written it: a byte order mark, lines before the header, quoted names with
// commas in them, CR LF, times of frames in seconds at the start of the exposure, those of samples in milliseconds, the
// first axis mirrored and the second one four times as large.
void WriteForeign(std::string const& recording, TemporaryDirectory const& directory) {
  std::string frames = "\xEF\xBB\xBFsession 7\r\n\r\n\"frame, no.\",lens,start [s],\"exp \"\"us\"\"\",skew\r\n";
  std::string hall = "\"y\",x,t,of frame\r\n";
  std::uint32_t readoutNs = 0;
  auto const session = recording::OpenRecording(recording);
  for (recording::Call call; session->Next(call);) {
    if (auto const* store = std::get_if<recording::StoreRollingShutter>(&call.operation)) {
      readoutNs = store->rollingShutterNs;
    } else if (auto const* update = std::get_if<recording::UpdateSensorData>(&call.operation)) {
      for (auto const& sample : update->batch) {
        hall += fmt::format("\"{}\",{},{}.{:06},{}\r\n", sample.oisHallY * 4, -sample.oisHallX,
                            sample.timestamp / 1000000, sample.timestamp % 1000000, update->frame);
      }
    } else if (auto const* calc = std::get_if<recording::CalcOisValue>(&call.operation)) {
      auto const& pair = calc->pairs[0];
      frames +=
          fmt::format("{},wide,{},{}.{:03},{}.{:03}\r\n", calc->frame, Seconds(pair.timestampNs - pair.exposureNs),
                      pair.exposureNs / 1000, pair.exposureNs % 1000, readoutNs / 1000, readoutNs % 1000);
    }
  }
  directory.Write("frames.txt", frames);
  directory.Write("hall.txt", hall);
}

TEST(CsvImport, OfAForeignFormWithItsFramesReplaysToTheSameRows) {
  for (char const* const options : {"", "--hall-rate 8000 --overlap 1", "--lost 0.1 --discarded 0.1 --jitter-us 400"}) {
    TemporaryDirectory const directory;
    std::string const in = "cd '" + directory.Path() + "' && ";
    ASSERT_EQ(RunScript(in + "shadingctl generate session " + options).exitCode, 0);
    WriteForeign(directory.Path() + "/session", directory);
    Outcome const outcome = RunScript(
        in +
        "shadingctl import -o imported --frames frames.txt --hall hall.txt --skip 2 --hall-skip 0 --frame-time start "
        "--map 'frames.frame=frame, no.' --map 'frames.timestamp=start [s]' --map 'frames.exposure=exp \"us\"' --map "
        "frames.readout=skew --map 'hall.frame=of frame' --map hall.timestamp=t --map hall.x=x --map hall.y=y "
        "--time-unit s --hall-time-unit ms --duration-unit us --scale-x -1 --scale-y 0.25 && "
        "shadingctl replay session --format csv -o a.csv && shadingctl replay imported --format csv -o b.csv && "
        "cmp a.csv b.csv && cat imported/recording.csv");
    EXPECT_EQ(outcome.exitCode, 0) << options << outcome.out << outcome.err;
    EXPECT_EQ(outcome.out.find("batches,rebuilt"), std::string::npos) << "these are the phone's";
  }
}

TEST(CsvImport, OfTheRunningRecordingReplaysToTheSameRows) {
  if (!std::filesystem::exists(RUNNING_RECORDING)) GTEST_SKIP() << RUNNING_RECORDING << " is not there";
  TemporaryDirectory const directory;
  Outcome const outcome = RunScript("cd '" + directory.Path() +
                                    "' && R='" RUNNING_RECORDING
                                    "' && shadingctl import --frames $R/frames.csv --hall $R/hall.csv "
                                    "--frame-time end -o imported && shadingctl replay $R --format csv -o a.csv && "
                                    "shadingctl replay imported --format csv -o b.csv && cmp a.csv b.csv");
  EXPECT_EQ(outcome.exitCode, 0) << outcome.out << outcome.err;
}

// Frame 1's first line ends its exposure at 1 ms, its readout is 2 ms and its batch comes 3 ms later: at 6 ms. Frame 2
// follows 10 ms later.
TEST(CsvImport, WithoutFramesOfSamplesDeliversByTimeAndSaysSo) {
  TemporaryDirectory const directory;
  directory.Write("f.csv", "timestamp_ns\n0\n10000000\n");
  directory.Write(
      "h.csv",
      "timestamp_ns,hall_x,hall_y\n-5,1,1\n6000000,2,2\n6000001,3,3\n6000000,4,4\n16000000,5,5\n16000001,6,6\n");
  Outcome const outcome = RunScript("cd '" + directory.Path() +
                                    "' && shadingctl import --frames f.csv --hall h.csv --frame-time start -o r "
                                    "--exposure-us 1000 --readout-us 2000 --delivery-delay-us 3000 && "
                                    "shadingctl replay r --summary >/dev/null");
  EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
  std::string const made = directory.Path() + "/r/";
  EXPECT_EQ(Columns(ReadFile(made + "calls.csv"), "call,kind,frame,timestamp_ns,samples"),
            "1,register_start,,,\n2,readout,,,\n3,update,1,1000000,2\n4,calculate,1,1000000,\n5,update,2,11000000,3\n"
            "6,calculate,2,11000000,\n7,stop,,,\n");
  EXPECT_EQ(Columns(ReadFile(made + "hall.csv"), "call,timestamp_ns,hall_x,hall_y"),
            "3,-5,1,1\n3,6000000,2,2\n5,6000001,3,3\n5,6000000,4,4\n5,16000000,5,5\n");
  EXPECT_NE(LineOf(ReadFile(made + "recording.csv"), "batches,rebuilt"), "");
  ExpectGolden(outcome.err, "csv-by-time.txt");
}

constexpr char const* kFrames = "frame,timestamp_ns,exposure_ns,rolling_shutter_ns\n1,5,1,2\n2,9,1,2\n";
constexpr char const* kHall = "frame,timestamp_ns,hall_x,hall_y\n1,4,0.5,0.25\n2,8,0.5,0.25\n";

// The message of an import that is refused and leaves nothing behind.
std::string Refusal(std::string const& frames, std::string const& hall, std::string const& options, int exitCode) {
  TemporaryDirectory const directory;
  directory.Write("f.csv", frames);
  directory.Write("h.csv", hall);
  Outcome const outcome =
      RunScript("cd '" + directory.Path() + "' && shadingctl import --frames f.csv --hall h.csv " + options);
  EXPECT_EQ(outcome.exitCode, exitCode) << outcome.err;
  EXPECT_EQ(outcome.out, "") << outcome.err;
  EXPECT_EQ(RunScript("ls " + directory.Path()).out, "f.csv\nh.csv\n") << outcome.err;
  return outcome.err;
}

TEST(CsvImport, OfOptionsThatDoNotFitIsRefused) {
  struct {
    char const* options;
    int exitCode;
  } const rows[] = {
      {"-o r", 2},
      {"--frame-time end", 2},
      {"-o r --frame-time middle", 2},
      {"-o r --frame-time end x.log", 2},
      {"-o r --frame-time end --map hall.z=a", 2},
      {"-o r --frame-time end --map hall.x=", 2},
      {"-o r --frame-time end --map hall.x=a --map hall.x=b", 2},
      {"-o r --frame-time end --map frames.exposure=e --exposure-us 5", 2},
      {"-o r --frame-time end --map hall.x=hall_y", 2},
      {"-o r --frame-time end --map frames.timestamp=exposure_ns", 2},
      {"-o r --frame-time end --scale-x inf", 2},
      {"-o r --frame-time end --map hall.x=ois_x", 3},
      {"-o r --frame-time end --separator tab", 3},
  };
  std::string told;
  for (auto const& row : rows) told += row.options + ("\n" + Refusal(kFrames, kHall, row.options, row.exitCode));
  ExpectGolden(told, "csv-options.txt");
}

std::string const kFrameNames = "frame,timestamp_ns,exposure_ns,rolling_shutter_ns\n";
std::string const kHallNames = "frame,timestamp_ns,hall_x,hall_y\n";

TEST(CsvImport, OfAFileThatCannotBeReadTellsThePlaceAndLeavesNothingBehind) {
  struct {
    std::string frames;
    std::string hall;
    char const* options;
  } const rows[] = {
      {"frame,timestamp_ns\n1,2\n", kHall, ""},
      {"timestamp_ns,exposure_ns,rolling_shutter_ns\n5,1,2\n", kHall, ""},
      {"about\n", kHall, "--skip 3"},
      {kFrames, "\nframe,timestamp_ns,hall_x,hall_y\n1,1.5,0,0\n", ""},
      {kFrames, "a\nb\nframe,timestamp_ns,hall_x,hall_y\n1,two,0,0\n", "--hall-skip 2 --hall-time-unit s"},
      {kFrames, kHallNames + "1,1,0,nan\n", ""},
      {kFrames, kHallNames + "1,1,0,0\n# a gap\n", ""},
      {kFrames, "# of the run\nframe,timestamp_ns,hall_x,hall_y\n", ""},
      {kFrames, "frame;timestamp_ns;hall_x;hall_y\n1;1;0;0\n", ""},
      {kFrames, kHallNames + "1.5,4,0,0\n", ""},
      {kFrameNames, kHall, ""},
      {kFrames, kHallNames, ""},
      {kFrames, kHallNames + "1,x,0,0\n", "--skip-bad"},
      {kFrames, kHallNames + "7,4,0,0\n", ""},
      {kFrames, kHallNames + "1,1,1e38,0\n", "--scale-x 10"},
      {kFrames, kHallNames + "2,1,0,0\n1,2,0,0\n2,3,0,0\n", ""},
      {kFrameNames + "2,5,1,2\n2,9,1,2\n3,12,1,2\n", kHall, ""},
      {kFrameNames + "1,9223372036854775807,1,2\n", kHall, "--frame-time start"},
      {kFrameNames + "1,5,1,4294967296\n", kHall, ""},
      {kFrameNames + "1,5,1,2\n2,9\n3,1,1,1\n", kHall, ""},
      {kFrameNames + "1,5,1,2\n\"2,9,1,2\n3,1,1,1\n", kHall, ""},
  };
  std::string told;
  for (auto const& row : rows) {
    bool const isStart = std::string(row.options).find("--frame-time") != std::string::npos;
    std::string const options = (isStart ? "-o r " : "-o r --frame-time end ") + std::string(row.options);
    told += Refusal(row.frames, row.hall, options, 3);
  }
  ExpectGolden(told, "csv-files.txt");
}

// 150 frames of 30 Hz from 100 s on, each with an exposure of 10 ms that ends at its time and a readout of 20 ms: from
// 99.99 to 104.986666517 s. `count` samples, `stepNs` apart from `fromNs` on.
std::pair<std::string, std::string> FilesOf(std::int64_t fromNs, std::int64_t stepNs, int count) {
  std::string frames = "timestamp_ns\n";
  std::string hall = "timestamp_ns,hall_x,hall_y\n";
  for (std::int64_t i = 0; i < 150; ++i) frames += fmt::format("{}\n", 100000000000 + i * 33333333);
  for (std::int64_t i = 0; i < count; ++i) hall += fmt::format("{},1,2\n", fromNs + i * stepNs);
  return {frames, hall};
}

struct Apart {
  std::int64_t fromNs;
  std::int64_t stepNs;
  bool isTaken;
};

// Frames and samples that do not belong together, by their times.
TEST(CsvImport, OfOtherTimesThanTheFramesIsRefusedWithTheLikelyCause) {
  Apart const cases[] = {
      {99990000000, 1000000, true},
      {90000000000, 100000000, true},  // 500 s, in which the frames are a moment
      {104989000000, -1000000, false},
      {99990000, 1000, false},
      {99990000000000, 1000000000, false},
      {200000000000, 1000000, false},
      // Counted from the first frame on, so that the first ones lie within its times.
      {100000000000, 1000, false},
      {100000000000, 1000000000, false},
  };
  std::string told;
  for (Apart const& apart : cases) {
    TemporaryDirectory const directory;
    auto const [frames, hall] = FilesOf(apart.fromNs, apart.stepNs, 5000);
    directory.Write("f.csv", frames);
    directory.Write("h.csv", hall);
    Outcome const outcome = RunScript(
        "cd '" + directory.Path() +
        "' && shadingctl import --frames f.csv --hall h.csv --frame-time end --exposure-us 10000 --readout-us "
        "20000 -o r; code=$?; ls r 2>/dev/null; exit $code");
    EXPECT_EQ(outcome.exitCode, apart.isTaken ? 0 : 3) << apart.fromNs << outcome.err;
    EXPECT_EQ(outcome.out.empty(), !apart.isTaken) << apart.fromNs << outcome.out;
    if (!apart.isTaken) told += outcome.err;
  }
  ExpectGolden(told, "csv-times.txt");
}

// Rows as other programs write them, each with the same two frames and samples.
TEST(CsvImport, ReadsOtherSeparatorsAndLeavesOutBadLinesWhenItIsAsked) {
  std::string const bad = Replaced(kHall, "\n2,", "\n1,5,nan,0\n# a gap\n1,6\n2,");
  struct {
    std::string frames;
    std::string hall;
    char const* options;
  } const cases[] = {
      {Replaced(kFrames, ",", ";"), Replaced(kHall, ",", "; "), "--separator semicolon"},
      {Replaced(kFrames, ",", "\t"), Replaced(kHall, ",", "\t"), "--separator tab"},
      {Replaced(kFrames, ",", "  "), Replaced(Replaced(kHall, ",", " "), "\n", " \n "), "--separator blank"},
      {Replaced(kFrames, "\n2,", "\n2.,"), Replaced(kHall, "\n1,", "\n1.000,"), ""},
      {kFrames, bad, "--skip-bad"},
  };
  for (auto const& row : cases) {
    TemporaryDirectory const directory;
    directory.Write("f.csv", row.frames);
    directory.Write("h.csv", row.hall);
    Outcome const outcome = RunScript("cd '" + directory.Path() +
                                      "' && shadingctl import --frames f.csv --hall h.csv --frame-time end -o r " +
                                      row.options + " && cat r/hall.csv");
    EXPECT_EQ(outcome.out, "r: 2 frames, 2 samples\ncall,timestamp_ns,hall_x,hall_y\n3,4,0.5,0.25\n5,8,0.5,0.25\n")
        << row.options << outcome.err;
    EXPECT_EQ(outcome.err.find("are left out: 3; the first one is h.csv:3: hall_x: ") != std::string::npos,
              row.hall == bad);
  }
}

TEST(CsvImport, OverwritesARecordingOnlyWhenItIsAsked) {
  TemporaryDirectory const directory;
  directory.Write("f.csv", kFrames);
  directory.Write("h.csv", kHall);
  std::string const import =
      "cd '" + directory.Path() + "' && shadingctl import --frames f.csv --hall h.csv --frame-time end -o r ";
  EXPECT_EQ(RunScript(import).out, "r: 2 frames, 2 samples\n");
  Outcome const again = RunScript(import);
  EXPECT_EQ(again.exitCode, 3);
  EXPECT_NE(again.err.find("r/recording.csv: "), std::string::npos) << again.err;
  EXPECT_EQ(RunScript(import + "--force").exitCode, 0);
  std::string const samples = ReadFile(directory.Path() + "/r/hall.csv");
  Outcome const ofItself = RunScript("cd '" + directory.Path() +
                                     "' && shadingctl import --frames f.csv --hall r/hall.csv --map hall.frame=call "
                                     "--frame-time end -o r --force");
  EXPECT_EQ(ofItself.exitCode, 3) << ofItself.err;
  EXPECT_EQ(ReadFile(directory.Path() + "/r/hall.csv"), samples);
}

// Cut behind every byte of the second file: only what ends with a line is taken as it is.
TEST(CsvImport, OfACutFileIsRefusedAndSalvagedLineByLine) {
  TemporaryDirectory const directory;
  ImportArguments arguments;
  arguments.framesFile = directory.Path() + "/f.csv";
  arguments.hallFile = directory.Path() + "/h.csv";
  directory.Write("f.csv", kFrames);
  std::string const hall = kHall;
  std::size_t const header = hall.find('\n') + 1;
  std::size_t const second = hall.find('\n', header) + 1;
  auto const samples = [&] {
    std::size_t count = 0;
    auto const imported = OpenCsv(arguments);
    for (recording::Call call; imported->Next(call);) {
      if (auto const* update = std::get_if<recording::UpdateSensorData>(&call.operation)) count += update->batch.size();
    }
    return count;
  };
  for (std::size_t size = header; size <= hall.size(); ++size) {
    directory.Write("h.csv", hall.substr(0, size));
    std::size_t const whole = size == hall.size() ? 2 : size >= second ? 1 : 0;
    bool const endsWithLine = size == header || size == second || size == hall.size();
    bool const isTaken = endsWithLine && whole > 0;
    arguments.salvage = false;
    std::string told;
    try {
      EXPECT_EQ(samples(), whole) << size;
    } catch (hosting::UnusableInput const& refused) {
      told = refused.what();
    }
    EXPECT_EQ(told.empty(), isTaken) << size << told;
    if (!endsWithLine) {
      EXPECT_NE(told.find(fmt::format("h.csv:{}: expected the end of a line", whole + 2)), std::string::npos) << told;
      EXPECT_NE(told.find(fmt::format("the {} lines of values before it are whole", whole)), std::string::npos) << told;
    }
    arguments.salvage = true;
    if (whole > 0) {
      EXPECT_EQ(samples(), whole) << size;
    } else {
      EXPECT_THROW(samples(), hosting::UnusableInput) << size;
    }
  }
}

TEST(Import, WithoutItsProgramSaysWhatIsMissing) {
  TemporaryDirectory const directory;
  std::string const bin = directory.Path() + "/bin";
  Outcome const outcome = RunScript(
      "mkdir '" + bin + "' && cp '" SHADINGCTL "' '" + bin + "' && ln -s '" LIBRARY_DIRECTORY "' '" + directory.Path() +
      "/lib' && PATH=/usr/bin:/bin " EMULATOR " '" + bin + "/shadingctl' import x.log -o r");
  EXPECT_EQ(outcome.exitCode, 3);
  EXPECT_NE(outcome.err.find(bin + "/shadingctl-import: cannot be run: No such file or directory"), std::string::npos)
      << outcome.err;
}

}  // namespace
}  // namespace shadingctl
