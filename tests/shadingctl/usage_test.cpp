// Command lines that are understood, and those that are not.
#include <gtest/gtest.h>

#include <string>

#include "tests/shadingctl/Program.h"

namespace shadingctl {
namespace {

TEST(Usage, IsAnswered) {
  struct {
    char const* arguments;
    int exitCode;
    char const* told;  // part of what is written
  } const rows[] = {
      {"--version", 0, "shadingctl 1."},
      {"generate --help", 0, "--hall-rate"},
      {"", 2, "subcommand is required"},
      {"-V", 0, "shadingctl 1."},
      {"repaly", 2, "not expected: repaly\nDid you mean replay?\n"},
      {"replay --quite", 2, "not expected: --quite\nDid you mean --quiet?\n"},
      {"generate x --hal-rate=5", 2, "Did you mean --hall-rate?\n"},
      {"--versoin", 2, "Did you mean --version?\n"},
      {"xyz", 2, "not expected: xyz\nRun with --help"},
      {"help repaly", 2, "repaly"},
      {"replay -", 2, "RECORDING: - is standard input or output, which cannot serve here"},
      {"generate -", 2, "DIR: - is standard input or output"},
      {"dumps -", 2, "DIR: - is standard input or output"},
      {"doctor - --load", 2, "--load: expected a file"},
      {"replay --range 5", 2, "--range: expected FIRST:LAST, two frame numbers from 0 to 4294967295, "},
      {"replay --range 7:5", 2, "found '7:5'"},
      {"replay --range 05:7", 2, "found '05:7'"},
      {"replay --only start,some", 2, "some not in {start,carried,no_start,"},
      {"replay --summary -q", 2, "excludes"},
      {"replay --color red", 2, "red"},
      {"replay --mode median", 2, "median"},
      {"replay --type 2", 2, "--type"},
      {"replay --format xml", 2, "xml"},
      {"replay --log-level -1", 2, "--log-level"},
      {"generate", 2, "DIR is required"},
      {"generate x --drop 0.9", 2, "--drop"},
      {"replay --device /no/device", 3, "/no/device/device.json: cannot be read"},
      {"replay --library /no/library.so", 3, "/no/library.so: cannot be read: No such file or directory"},
      {"replay --library " GOLDEN "/builtin.csv", 3, "builtin.csv: is no library: expected an ELF file"},
      {"replay --library " OTHER_LIBRARY, 3, "liblog.so: is no shading library: "},
      {"replay --camera 5", 3, "built-in session: expected camera 5, found those of the device, 0, 2\n"},
      {"replay -o /no/result.csv", 3, "/no/result.csv: cannot be written: No such file or directory"},
      {"replay --format csv -o /dev/full", 3, "/dev/full: cannot be written: No space left on device"},
      {"replay --log /dev/full", 3, "/dev/full: cannot be written: No space left on device"},
      {"generate /proc/session", 3, "/proc/session: cannot be made: "},
      {"replay --dump preview", 2, "--dump-dir"},
      {"replay --dump-dir none", 2, "--dump"},
      {"diff - -", 2, "B: expected another result than A"},
      {"report - -", 2, "RESULT: expected two results"},
      {"summarize " GOLDEN "/builtin.csv", 3, "builtin.csv: expected a result of replay --format json, found CSV"},
      {"dumps", 2, "DIR"},
      {"doctor", 2, "LIBRARY is required"},
      {"budget --hall-rate 200 --frame-rate 60 --readout-us 8000", 2, "--exposure-us is required"},
      {"budget --frame-rate 60 --readout-us 8000 --sweep exposure", 2, "--hall-rate is required"},
      {"generate x --exposure-us 1000:", 2, "expected one or, with a colon between, two whole numbers"},
      {"generate x --types 0,2", 2, "--types"},
      {"generate x --cameras 3", 2, "--cameras"},
      {"calibration --camera 14", 2, "--camera"},
      {"calibration --camera -1", 2, "--camera"},
      {"calibration --all --camera 1", 2, "excludes"},
      {"calibration --raw block.bin", 2, "--camera"},
      {"calibration --format xml", 2, "xml"},
      {"calibration --device /no/device", 3, "/no/device/device.json: cannot be read"},
      {"calibration --library /no/library.so", 3, "/no/library.so: cannot be read"},
      {"calibration -o /dev/full", 3, "/dev/full: cannot be written"},
      {"calibration --camera 0 --raw /dev/full", 3, "/dev/full: cannot be written"},
      {"generate x --hall-rate nan", 2, "--hall-rate: expected a number from 1 to 100000, found 'nan'"},
      {"generate x --frame-rate inf", 2, "--frame-rate: expected a number from 1 to 1000, found 'inf'"},
      {"generate x --overlap -nan", 2, "--overlap: expected a number from 0 to 1, found '-nan'"},
      {"generate x --drop nan", 2, "--drop: expected a number from 0 to 0.5, found 'nan'"},
      {"generate x --drop 0x1p-2", 2, "--drop: expected a number from 0 to 0.5, found '0x1p-2'"},
      {"generate x --overlap 00.5", 2, "--overlap: expected a number from 0 to 1, found '00.5'"},
      {"generate x --frames 010", 2, "--frames: expected a whole number from 1 to 100000000, found '010'"},
      {"generate x --frames 0x10", 2, "found '0x10'"},
      {"generate x --frames 1e3", 2, "found '1e3'"},
      {"generate x --frames 10.", 2, "found '10.'"},
      {"generate x --frames ''", 2, "found ''"},
      {"generate x --frames 4294967297", 2, "found '4294967297'"},
      {"generate x --jitter-us 1000001", 2, "--jitter-us: expected a whole number from 0 to 1000000, found '1000001'"},
      {"generate x --seed -1", 2, "--seed: expected a whole number from 0 to 18446744073709551615, found '-1'"},
      {"generate x --seed 18446744073709551616", 2, "found '18446744073709551616'"},
      {"generate x --frames 49 --late 10", 2, "--late: expected at most 9, a fifth of the session, found 10"},
      {"generate x --frames 50 --frame-rate 100 --pause-us 100001", 2,
       "--pause-us: expected at most 100000, a fifth of the session, found 100001"},
      {"replay --camera 2147483648", 2,
       "--camera: expected a whole number from -2147483648 to 2147483647, found '2147483648'"},
      {"replay --log-level 04", 2, "--log-level: expected a whole number from 0 to 9, found '04'"},
      {"replay --type 00", 2, "--type: 00 not in {0,1,4,5,6}"},
      {"calibration --camera 01", 2, "--camera: expected a whole number from 0 to 13, found '01'"},
      {"replay ''", 2, "RECORDING: expected a value, found an empty text"},
      {"replay --library ''", 2, "--library: expected a value, found an empty text"},
      {"replay --device ''", 2, "--device: expected a value"},
      {"replay -o ''", 2, "--output: expected a value"},
      {"replay --log ''", 2, "--log: expected a value"},
      {"replay --dump preview --dump-dir ''", 2, "--dump-dir: expected a value"},
      {"generate ''", 2, "DIR: expected a value"},
      {"calibration --camera 0 --raw ''", 2, "--raw: expected a value"},
      {"dumps x ''", 2, "DIR: expected a value"}};
  for (auto const& row : rows) {
    Outcome const outcome = RunTool(row.arguments);
    if (outcome.err.find(": no private mount namespace (") != std::string::npos) continue;
    EXPECT_EQ(outcome.exitCode, row.exitCode) << row.arguments;
    std::string const& text = outcome.exitCode == 0 ? outcome.out : outcome.err;
    EXPECT_NE(text.find(row.told), std::string::npos) << row.arguments << "\n" << text;
  }
  if (!MountRefusal().empty()) GTEST_SKIP() << "calibration alone: " << MountRefusal();
}

TEST(Help, IsTheGoldenHoweverItIsAskedFor) {
  std::string const replay = RunTool("help replay").out;
  ExpectGolden(RunTool("help").out + "\n" + replay, "help.txt");
  EXPECT_EQ(RunTool("--help").out, RunTool("help").out);
  EXPECT_EQ(RunTool("replay --help").out, replay);
}

// The option wins against a variable that names another device, or none that can be read.
TEST(Device, OfTheOptionIsPlayedWhateverTheEnvironmentSays) {
  if (!MountRefusal().empty()) GTEST_SKIP() << MountRefusal();
  TemporaryDirectory const directory;
  directory.Write("device.json", R"({"configuration": {"FeatureOisCompensationSupport": {"sensorMaps": [4, 6]}},
                                     "sensors": [{"sensorId": 4, "sensorIndex": 0, "device": 1}]})");
  TemporaryDirectory const other;
  other.Write("device.json", "{}");
  for (std::string const& variable : {std::string("/no/device"), other.Path()}) {
    std::string const environment = "VCAM_DEVICE=" + variable + " shadingctl ";
    Outcome const replay = RunScript(environment + "replay --device " + directory.Path());
    EXPECT_EQ(replay.exitCode, 0) << replay.err;
    EXPECT_NE(replay.out.find(": camera 4, sensor type 6,"), std::string::npos);
    Outcome const calibration = RunScript(environment + "calibration --format csv --device " + directory.Path());
    EXPECT_EQ(calibration.exitCode, 1) << calibration.err;
    EXPECT_EQ(Lines(calibration.out).size(), 2U);
  }
  Outcome const broken = RunScript("VCAM_DEVICE=/no/device shadingctl replay");
  EXPECT_EQ(broken.exitCode, 3);
  EXPECT_EQ(broken.err, "shadingctl: /no/device/device.json: cannot be read: No such file or directory\n");
}

}  // namespace
}  // namespace shadingctl
