// What `shadingctl calibration` says about data that are there, missing and broken.
#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>

#include "tests/shadingctl/Program.h"

namespace shadingctl {
namespace {

namespace fs = std::filesystem;

class Calibration : public testing::Test {
  void SetUp() override {
    if (!MountRefusal().empty()) GTEST_SKIP() << MountRefusal();
  }
};

TEST_F(Calibration, BuiltInCamerasAreAsCommitted) {
  TemporaryDirectory const temporary;
  setenv("TMPDIR", temporary.Path().c_str(), 1);
  std::string const result = temporary.Path() + "-result.txt";
  Outcome const outcome = RunTool("calibration --all -o " + result);
  ExpectGolden(ReadFile(result), "calibration.txt");
  EXPECT_EQ(outcome.exitCode, 1);
  EXPECT_EQ(outcome.out, "");
  EXPECT_EQ(outcome.err, "");
  fs::remove(result);
  EXPECT_TRUE(fs::is_empty(temporary.Path())) << "only the test's own files stay";
  unsetenv("TMPDIR");
}

TEST_F(Calibration, TheBuiltInDeviceShowsItsSoundCamerasFirst) {
  Outcome const some = RunTool("calibration --format csv");
  EXPECT_EQ(some.exitCode, 0);
  EXPECT_EQ(Columns(some.out, "camera"), "0\n1\n2\n");
  EXPECT_EQ(Columns(RunTool("calibration --all --format csv").out, "camera"), "0\n1\n2\n3\n4\n5\n6\n");
  EXPECT_NE(RunTool("calibration").out.find("--all"), std::string::npos);
}

// 9 rows, in which value k of row r is 256 r + k, and the valid byte.
std::string Block(char valid) {
  std::string block;
  for (int row = 0; row < 9; ++row) {
    for (int k = 0; k < 130; ++k) block += {static_cast<char>(k), static_cast<char>(row)};
  }
  return block + valid;
}

std::string const kRecord("\x01----\x06\x81---\x07", 11);

// A device of one camera, with the record at 16 and the block at 32 of its dump file.
class PlayedCamera {
 public:
  PlayedCamera(std::string const& shading, int rowOrder, std::string const& file) {
    mDirectory.Write("device.json", R"({"configuration": {"FeatureShading": {)" + shading +
                                        R"(}}, "sensors": [{"sensorId": 0, "sensorIndex": 0, "device": 1, )"
                                        R"("calibrationRowOrder": )" +
                                        std::to_string(rowOrder) + "}]}");
    if (file.empty()) return;
    fs::create_directory(mDirectory.Path() + "/eeprom");
    mDirectory.Write("eeprom/rear_camera_eeprom_data.bin", file);
  }

  Outcome Run(std::string const& arguments) const {
    return RunTool("calibration --device " + mDirectory.Path() + " " + arguments);
  }
  std::string Raw() const { return mDirectory.Path() + "/raw"; }

 private:
  TemporaryDirectory mDirectory;
};

std::string const kWhole = std::string(16, '\0') + kRecord + std::string(5, '\0') + Block(1);
constexpr char const* kPlaces = R"("multiGolden[0]": 16, "PNCCaliData[0]": [32, 2341])";

TEST_F(Calibration, SoundDataGiveExitCode0AndTheirNumbers) {
  PlayedCamera const camera(kPlaces, 0, kWhole);
  Outcome const json = camera.Run("--format json");
  EXPECT_EQ(json.exitCode, 0) << json.err;
  auto shown = nlohmann::json::parse(json.out)["cameras"];
  ASSERT_EQ(shown.size(), 1U);
  EXPECT_EQ(shown[0]["table"]["record_parts"][3]["bytes"], "6");
  EXPECT_EQ(shown[0]["table"]["record_parts"][3]["hex"], "81");
  EXPECT_EQ(shown[0]["table"]["record_parts"][3]["meaning"], "its sign: negative (129 to 255)");
  shown[0]["table"].erase("record_parts");
  EXPECT_EQ(shown[0]["table"].dump(),
            R"({"default":null,"flag":-127,"flag_f":7,"gradient":-6,"index":3,"reason":"gradient -6 lies in -8 to -5",)"
            R"("record":"01 2d 2d 2d 2d 06 81 2d 2d 2d 07","record_offset":16,"settled":true,"sound":true,)"
            R"("valid_byte":1})");
  EXPECT_EQ(shown[0]["file_bytes"], 2373);
  auto block = shown[0]["block"];
  for (char const* const list : {"reason", "rows", "stored", "values"}) block.erase(list);
  EXPECT_EQ(block.dump(),
            R"({"default":null,"default_fill":false,"kind":"as stored","length":2341,"maximum":2177,"mean":1088.5,)"
            R"("minimum":0,"mirrored":false,"offset":32,"sound":true,"valid_byte":1})");
  EXPECT_EQ(shown[0]["block"]["rows"][8].dump(),
            R"({"maximum":2177,"mean":2112.5,"minimum":2048})");  // 2048 + 0 to 129
  EXPECT_EQ(shown[0]["messages"].size(), 3U);
}

TEST_F(Calibration, JsonHoldsTheBlockAsStoredAndAsHandedOut) {
  auto const blockOf = [](int rowOrder, std::string const& file) {
    return nlohmann::json::parse(PlayedCamera(kPlaces, rowOrder, file).Run("--format json").out)["cameras"][0]["block"];
  };
  std::string const text = PlayedCamera(kPlaces, 0, kWhole).Run("--format json").out;
  EXPECT_NE(text.find("\n          [256,257,258,"), std::string::npos) << "a row is a line";
  EXPECT_LT(Lines(text).size(), 200U);
  auto const mirrored = blockOf(2, kWhole);
  ASSERT_EQ(mirrored["stored"].size(), 9U);
  ASSERT_EQ(mirrored["values"].size(), 9U);
  EXPECT_EQ(mirrored["stored"][2][1], 513);  // 256 * 2 + 1
  EXPECT_EQ(mirrored["values"][2][0], 512);
  EXPECT_EQ(mirrored["values"][2][1], 641);  // 256 * 2 + 129
  auto const cut = blockOf(2, kWhole.substr(0, 32 + 260 + 259));
  EXPECT_EQ(cut["stored"].size(), 1U) << "the second row lacks a byte";
  EXPECT_EQ(cut["values"][8][129], 0x2000);
}

TEST_F(Calibration, RawIsTheBlockAsHandedOut) {
  PlayedCamera const mirrored(kPlaces, 2, kWhole);
  EXPECT_EQ(mirrored.Run("--camera 0 --raw " + mirrored.Raw()).exitCode, 0);
  std::string const raw = ReadFile(mirrored.Raw());
  ASSERT_EQ(raw.size(), 2340U);
  EXPECT_EQ(raw.substr(520, 6), std::string("\x00\x02\x81\x02\x80\x02", 6));  // values 0, 129 and 128 of row 2

  PlayedCamera const none(kPlaces, 0, "");
  Outcome const outcome = none.Run("--camera 0 --raw " + none.Raw());
  EXPECT_EQ(outcome.exitCode, 1);
  EXPECT_EQ(outcome.err, "shadingctl: " + none.Raw() + ": not written, as the library hands out no block\n");
  EXPECT_FALSE(fs::exists(none.Raw()));
}

TEST_F(Calibration, BrokenDataSayWhichDefaultTheCallerGetsAndWhy) {
  auto const withLength = [](char const* length) {
    return std::string(R"("multiGolden[0]": 16, "PNCCaliData[0]": [32, )") + length + "]";
  };
  struct {
    char const* name;
    std::string shading;  // the keys under FeatureShading
    std::string file;
    int rowOrder = 0;
  } const rows[] = {
      {"no feature", "", kWhole},
      {"no keys", R"("multiGolden[1]": 16, "PNCCaliData[0]": 32)", kWhole},
      {"no file", kPlaces, ""},
      {"record cut after 6 bytes", kPlaces, kWhole.substr(0, 22)},
      {"record beyond the end", R"("multiGolden[0]": 2147483647, "PNCCaliData[0]": [-1, 2341])", kWhole},
      {"record invalid", kPlaces, std::string(32, '\x02') + Block(1)},
      {"block invalid", kPlaces, kWhole.substr(0, 32) + Block('\xFE')},
      {"unusable length", withLength("2342"), kWhole},
      {"negative length", withLength("-2147483648"), kWhole},
      {"huge length", withLength("2147483647"), kWhole},
      {"too short for the mirror", withLength("12"), kWhole.substr(0, 43) + '\x01', 2},
  };
  std::string shown;
  for (auto const& row : rows) {
    Outcome const outcome = PlayedCamera(row.shading, row.rowOrder, row.file).Run("--format json");
    EXPECT_EQ(outcome.exitCode, 1) << row.name << outcome.err;
    auto const camera = nlohmann::json::parse(outcome.out)["cameras"][0];
    auto const& table = camera["table"];
    auto const& block = camera["block"];
    auto const text = [](nlohmann::json const& value) { return value.is_null() ? "-" : value.get<std::string>(); };
    shown += std::string(row.name) + "\n  table: " + text(table["default"]) + ": " + text(table["reason"]) +
             "\n  block: " + text(block["kind"]) + ", " + text(block["default"]) + ": " + text(block["reason"]) + "\n";
  }
  ExpectGolden(shown, "broken-calibration.txt");
}

TEST_F(Calibration, ACameraWithoutADumpFileAndOneWithAFolderInItsPlace) {
  TemporaryDirectory const directory;
  directory.Write("device.json", R"({"configuration": {"FeatureShading":
      {"multiGolden[0]": 16, "multiGolden[13]": 0, "PNCCaliData[13]": [0, 5]}}})");
  fs::create_directories(directory.Path() + "/eeprom/rear_camera_eeprom_data.bin");
  Outcome const outcome = RunTool("calibration --format csv --device " + directory.Path());
  EXPECT_EQ(outcome.exitCode, 1);
  EXPECT_EQ(Columns(outcome.out, "camera,mask,table_index,table_sound,table_record_offset,block_kind,block_sound"),
            "0,1,1,false,16,untouched,false\n13,8192,1,false,0,untouched,false\n");
  ExpectGolden(Columns(outcome.out, "table_reason") + Columns(outcome.out, "file_problem"), "no-dump-file.txt");
}

// Denies the mount to every child process, as a system without user namespaces does.
void RefuseNamespaces() {
  sock_filter filter[] = {BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
                          BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_unshare, 0, 1),
                          BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EPERM),
                          BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW)};
  sock_fprog program = {4, filter};
  if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0) std::abort();
  if (prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) != 0) std::abort();
}

TEST(RefusedCalibration, WithoutRootAndNamespacesThereIsOneLineAndExitCode3) {
  if (prctl(PR_GET_SECCOMP, 0, 0, 0, 0) < 0) GTEST_SKIP() << "system calls cannot be refused under an emulator";
  EXPECT_EXIT(
      {
        RefuseNamespaces();
        Outcome const outcome = RunTool("calibration");
        std::fputs((outcome.out + outcome.err).c_str(), stderr);
        std::_Exit(outcome.exitCode);
      },
      testing::ExitedWithCode(3),
      geteuid() == 0 ? "^shadingctl: no private mount namespace \\(root lacks CAP_SYS_ADMIN, and user namespaces are "
                       "refused\\): Operation not permitted\n$"
                     : "^shadingctl: no private mount namespace \\(user namespaces are refused: needs root\\): "
                       "Operation not permitted\n$");
}

// The mount's own root is then another directory, and its propagation that of the whole system.
TEST_F(Calibration, InAPlainChrootIsMountedForTheToolAlone) {
#ifdef __SANITIZE_ADDRESS__
  GTEST_SKIP() << "a sanitizer needs /proc, which the chroot does not have";
#endif
  if (geteuid() != 0) GTEST_SKIP() << "chroot needs root";
  TemporaryDirectory const directory;
  Outcome const outcome = RunScript("cd " + directory.Path() +
                                    " && mkdir -p bin lib mnt tmp || exit 99\n"
                                    "cp " PROGRAM_DIRECTORY "/shadingctl bin && cp -r " LIBRARY_DIRECTORY
                                    "/* lib || exit 98\n"
                                    "LD_LIBRARY_PATH=" LIBRARY_DIRECTORY
                                    "/vcam-shadingutil ldd bin/shadingctl | grep -o '/[^ ]*' | sort -u | "
                                    "xargs cp -t lib && mkdir lib64 && cp /lib64/ld-linux* lib64 || exit 97\n"
                                    "LD_LIBRARY_PATH=/lib:/lib/vcam-shadingutil chroot . /bin/shadingctl calibration "
                                    "--format csv --library lib/libvcam_shadingutil.so && ls mnt");
  EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
  EXPECT_EQ(outcome.out, RunTool("calibration --format csv").out) << "and nothing below /mnt stays";
}

}  // namespace
}  // namespace shadingctl
