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
  EXPECT_NE(outcome.err.find("h.csv: its samples are delivered by time, 3000 us after"), std::string::npos);
  EXPECT_NE(outcome.err.find("results will differ from the phone's"), std::string::npos) << outcome.err;
  EXPECT_NE(outcome.err.find("h.csv: samples left out after the last frame's: 1"), std::string::npos);
  EXPECT_NE(outcome.err.find("r: its batches are those that an import put together"), std::string::npos) << outcome.err;
}

constexpr char const* kFrames = "frame,timestamp_ns,exposure_ns,rolling_shutter_ns\n1,5,1,2\n2,9,1,2\n";
constexpr char const* kHall = "frame,timestamp_ns,hall_x,hall_y\n1,4,0.5,0.25\n2,8,0.5,0.25\n";

void ExpectRefusal(std::string const& frames, std::string const& hall, std::string const& options, int exitCode,
                   char const* told) {
  TemporaryDirectory const directory;
  directory.Write("f.csv", frames);
  directory.Write("h.csv", hall);
  Outcome const outcome =
      RunScript("cd '" + directory.Path() + "' && shadingctl import --frames f.csv --hall h.csv " + options);
  EXPECT_EQ(outcome.exitCode, exitCode) << told;
  EXPECT_NE(outcome.err.find(told), std::string::npos) << told << "\n" << outcome.err;
  EXPECT_EQ(outcome.out, "") << told;
  EXPECT_EQ(RunScript("ls " + directory.Path()).out, "f.csv\nh.csv\n") << told;
}

TEST(CsvImport, OfOptionsThatDoNotFitIsRefused) {
  struct {
    char const* options;
    int exitCode;
    char const* told;
  } const rows[] = {
      {"-o r", 2, "--frames requires --frame-time"},
      {"--frame-time end", 2, "--output is required"},
      {"-o r --frame-time middle", 2, "--frame-time: middle not in"},
      {"-o r --frame-time end x.log", 2, "excludes"},
      {"-o r --frame-time end --map hall.z=a", 2, "FIELD is one of frames.expo"},
      {"-o r --frame-time end --map hall.x=", 2, "found 'hall.x='"},
      {"-o r --frame-time end --map hall.x=a --map hall.x=b", 2, "once"},
      {"-o r --frame-time end --map frames.exposure=e --exposure-us 5", 2,
       "--exposure-us: excludes --map frames.exposure="},
      {"-o r --frame-time end --map hall.x=hall_y", 2,
       "--map: expected a column for each field, found 'hall_y' for both hall.x and hall.y"},
      {"-o r --frame-time end --map frames.timestamp=exposure_ns", 2,
       "'exposure_ns' for both frames.exposure and frames.timestamp"},
      {"-o r --frame-time end --scale-x inf", 2, "--scale-x: expected a number"},
      {"-o r --frame-time end --map hall.x=ois_x", 3,
       "h.csv:1: ois_x: expected this column, the header does not name it: 'frame,timestamp_ns,hall_x"},
      {"-o r --frame-time end --separator tab", 3,
       "f.csv:1: expected a tab between the names of columns, found 'frame,timestamp_ns,exposure_ns,rolling"},
  };
  for (auto const& row : rows) ExpectRefusal(kFrames, kHall, row.options, row.exitCode, row.told);
}

std::string const kFrameNames = "frame,timestamp_ns,exposure_ns,rolling_shutter_ns\n";
std::string const kHallNames = "frame,timestamp_ns,hall_x,hall_y\n";

TEST(CsvImport, OfAFileThatCannotBeReadTellsThePlaceAndLeavesNothingBehind) {
  struct {
    std::string frames;
    std::string hall;
    char const* options;
    char const* told;
  } const rows[] = {
      {"frame,timestamp_ns\n1,2\n", kHall, "", "f.csv:1: exposure_ns: expected this"},
      {"timestamp_ns,exposure_ns,rolling_shutter_ns\n5,1,2\n", kHall, "",
       "h.csv: its samples name frames, and f.csv does not"},
      {"about\n", kHall, "--skip 3", "f.csv:4: expected a header that names"},
      {kFrames, "\nframe,timestamp_ns,hall_x,hall_y\n1,1.5,0,0\n", "",
       "h.csv:3: timestamp_ns: expected a whole number of ns"},
      {kFrames, "a\nb\nframe,timestamp_ns,hall_x,hall_y\n1,two,0,0\n", "--hall-skip 2 --hall-time-unit s",
       "h.csv:4: timestamp_ns: expected a time in s"},
      {kFrames, kHallNames + "1,1,0,nan\n", "",
       "h.csv:2: hall_y: expected a decimal number, found 'nan'; --skip-bad leaves such lines out"},
      {kFrames, kHallNames + "1,1,0,0\n# a gap\n", "",
       "h.csv:3: expected values, found a comment: '# a gap'; --skip-bad leaves such lines out"},
      {kFrames, "# of the run\nframe,timestamp_ns,hall_x,hall_y\n", "",
       "h.csv:1: expected a header that names the columns timestamp_ns, hall_x and hall_y, found a comment: '# of the "
       "run'; --skip N passes over"},
      {kFrames, "frame;timestamp_ns;hall_x;hall_y\n1;1;0;0\n", "",
       "h.csv:1: expected a comma between the names of columns, found 'frame;timestamp_ns;hall_x;hall_y'; --separator "
       "semicolon reads such files"},
      {kFrames, kHallNames + "1.5,4,0,0\n", "",
       "h.csv:2: frame: expected a whole number from 0 to 4294967295, found '1.5'"},
      {kFrameNames, kHall, "", "f.csv: expected frames, found none"},
      {kFrames, kHallNames, "", "h.csv: expected samples, found none"},
      {kFrames, kHallNames + "1,x,0,0\n", "--skip-bad", "h.csv: expected samples, found none"},
      {kFrames, kHallNames + "7,4,0,0\n", "",
       "h.csv: expected samples of the frames, found none among 1: the samples are from 4 to 4 ns, the frames from 4 "
       "to 11 ns"},
      {kFrames, kHallNames + "1,1,1e38,0\n", "--scale-x 10",
       "hall_x: expected a number that single precision holds once it is scaled, found '1e38'"},
      {kFrames, kHallNames + "2,1,0,0\n1,2,0,0\n2,3,0,0\n", "",
       "h.csv:3: frame: expected at least 2, the frame of the row before, found '1'"},
      {kFrameNames + "2,5,1,2\n2,9,1,2\n3,12,1,2\n", kHall, "",
       "f.csv:3: frame: expected a number above 2, the frame before, found '2'"},
      {kFrameNames + "1,9223372036854775807,1,2\n", kHall, "--frame-time start",
       "f.csv:2: timestamp_ns: expected an exposure that ends by"},
      {kFrameNames + "1,5,1,4294967296\n", kHall, "", "f.csv:2: rolling_shutter_ns: expected"},
      {kFrameNames + "1,5,1,2\n2,9\n3,1,1,1\n", kHall, "", "f.csv:3: expected as many fields"},
      {kFrameNames + "1,5,1,2\n\"2,9,1,2\n3,1,1,1\n", kHall, "", "f.csv:3: "},
  };
  for (auto const& row : rows) {
    bool const isStart = std::string(row.options).find("--frame-time") != std::string::npos;
    ExpectRefusal(row.frames, row.hall, (isStart ? "-o r " : "-o r --frame-time end ") + std::string(row.options), 3,
                  row.told);
  }
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
  char const* told;  // empty: they are taken
};

// Frames and samples that do not belong together, by their times.
TEST(CsvImport, OfOtherTimesThanTheFramesIsRefusedWithTheLikelyCause) {
  Apart const cases[] = {
      {99990000000, 1000000, ""},
      {90000000000, 100000000, ""},  // 500 s, in which the frames are a moment
      {104989000000, -1000000,
       "h.csv: expected samples in the order of delivery, found times that run backwards: the samples are from "
       "99990000000 to 104989000000 ns, the frames from 99990000000 to 104986666617 ns\n"},
      {99990000, 1000,
       "h.csv: expected samples within the times of the frames, found none among 5000: the samples are from 99990000 "
       "to "
       "104989000 ns, the frames from 99990000000 to 104986666617 ns; the samples' times are likely 1e3 times too "
       "small "
       "(--hall-time-unit us), or the frames' too large\n"},
      {99990000000000, 1000000000, "are likely 1e3 times too large, or the frames' too small\n"},
      {200000000000, 1000000,
       "the samples are from 200000000000 to 204999000000 ns, the frames from 99990000000 to "
       "104986666617 ns\n"},
      // Counted from the first frame on, so that the first ones lie within its times.
      {100000000000, 1000,
       "h.csv: expected samples in the unit of the frames, found another one: the samples are from "},
      {100000000000, 1000000000, "the samples' times are likely 1e3 times too large"},
  };
  for (Apart const& apart : cases) {
    TemporaryDirectory const directory;
    auto const [frames, hall] = FilesOf(apart.fromNs, apart.stepNs, 5000);
    directory.Write("f.csv", frames);
    directory.Write("h.csv", hall);
    Outcome const outcome = RunScript(
        "cd '" + directory.Path() +
        "' && shadingctl import --frames f.csv --hall h.csv --frame-time end --exposure-us 10000 --readout-us "
        "20000 -o r; code=$?; ls r 2>/dev/null; exit $code");
    bool const isTaken = *apart.told == '\0';
    EXPECT_EQ(outcome.exitCode, isTaken ? 0 : 3) << apart.fromNs << outcome.err;
    EXPECT_EQ(outcome.out.empty(), !isTaken) << apart.told << outcome.out;
    EXPECT_NE(outcome.err.find(apart.told), std::string::npos) << apart.told << outcome.err;
  }
}

// Rows as other programs write them, each with the same two frames and samples.
TEST(CsvImport, ReadsOtherSeparatorsAndLeavesOutBadLinesWhenItIsAsked) {
  std::string const bad = Replaced(kHall, "\n2,", "\n1,5,nan,0\n# a gap\n1,6\n2,");
  struct {
    std::string frames;
    std::string hall;
    char const* options;
    char const* told;
  } const cases[] = {
      {Replaced(kFrames, ",", ";"), Replaced(kHall, ",", "; "), "--separator semicolon", ""},
      {Replaced(kFrames, ",", "\t"), Replaced(kHall, ",", "\t"), "--separator tab", ""},
      {Replaced(kFrames, ",", "  "), Replaced(Replaced(kHall, ",", " "), "\n", " \n "), "--separator blank", ""},
      {Replaced(kFrames, "\n2,", "\n2.,"), Replaced(kHall, "\n1,", "\n1.000,"), "", ""},
      {kFrames, bad, "--skip-bad",
       "h.csv: lines that cannot be read, and are left out: 3; the first one is h.csv:3: hall_x: expected a decimal "
       "number, found 'nan'\n"},
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
    EXPECT_NE(outcome.err.find(row.told), std::string::npos) << outcome.err;
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
  EXPECT_NE(again.err.find("r/recording.csv: is there already; --force writes it anew"), std::string::npos)
      << again.err;
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
