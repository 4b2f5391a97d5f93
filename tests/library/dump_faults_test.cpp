// Dump files that cannot be written, each in a process of its own: the frame's position is unchanged, no file stays
// open, and the next dump that can be written is complete.
#include <fcntl.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>

#include "platform/desktop/CalibrationMount.h"
#include "tests/library/FaultHost.h"

namespace {

namespace fs = std::filesystem;

constexpr char kDirectory[] = "data/vendor/camera_dump";
constexpr char kBadFile[] = "data/vendor/camera_dump/preview_camera_0_frame_8_oishall.txt";
constexpr char kGoodFile[] = "data/vendor/camera_dump/preview_camera_0_frame_9_oishall.txt";

std::size_t OpenFiles() {
  return static_cast<std::size_t>(std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator()));
}

struct Disk {
  char const* name;
  std::function<std::string()> prepare;  // what is wrong with it, or why it could not be made so
  std::function<void()> repair;
};

std::string Mount(char const* options, unsigned long flags) {
  fs::create_directories(kDirectory);
  if (mount("none", kDirectory, "tmpfs", flags, options) == 0) return "";
  return std::string("no tmpfs: ") + std::strerror(errno);
}

Disk const kDisks[] = {
    {"Missing", [] { return std::string(); }, [] { fs::create_directories(kDirectory); }},
    {"ReadOnly", [] { return Mount("size=64k", MS_RDONLY); }, [] { umount(kDirectory); }},
    {"Full",
     [] {
       std::string const problem = Mount("size=8k", 0);
       std::ofstream(std::string(kDirectory) + "/filler") << std::string(64 * 1024, 'x');
       return problem;
     },
     [] { fs::remove(std::string(kDirectory) + "/filler"); }},
    {"FailingWithEio",
     [] {
       // Nothing is mapped at the beginning of the memory, so writing there answers EIO.
       fs::create_directories(kDirectory);
       fs::create_symlink("/proc/self/mem", kBadFile);
       return std::string();
     },
     [] {}},
    {"FailingWithEnospc",
     [] {
       fs::create_directories(kDirectory);
       fs::create_symlink("/dev/full", kBadFile);
       return std::string();
     },
     [] {}},
    {"OutOfDescriptors",
     [] {
       fs::create_directories(kDirectory);
       while (open("/dev/null", O_RDONLY) >= 0) {
       }
       return std::string();
     },
     [] {
       for (int descriptor = 100; descriptor < 65536; ++descriptor) close(descriptor);
     }},
};

std::string Try(Disk const& disk) {
  faults::FaultHost host;
  if (host.Create() != "object" || host.Register(0) != "true" || host.Start(0) != "true") return "no session";
  host.StoreRollingShutter(0);
  for (unsigned int frame = 1; frame <= 9; ++frame) host.Update(0, frame);
  *host.Library().Find<int*>("g_preOisDump") = 1;
  if (std::string const problem = disk.prepare(); !problem.empty()) return problem;

  std::size_t const before = std::strcmp(disk.name, "OutOfDescriptors") == 0 ? 0 : OpenFiles();
  if (std::string const answer = host.Calc(0, 8); answer != "1.000000") return "calc answers " + answer;
  if (before != 0 && OpenFiles() != before) return "a file stays open";
  if (before != 0 && fs::is_regular_file(fs::symlink_status(kBadFile)) && fs::file_size(kBadFile) > 4096) {
    return "the disk was not bad";
  }
  disk.repair();
  if (std::string const answer = host.Calc(0, 9); answer != "1.000000") return "calc then answers " + answer;
  std::ifstream const good(kGoodFile);
  std::string const text{std::istreambuf_iterator<char>(good.rdbuf()), {}};
  if (text.find("\"shutter_time\": ") == std::string::npos) return "the next dump is not whole";
  return "";
}

TEST(DumpFaults, ADiskThatFailsCostsTheDumpAlone) {
  if (!fs::exists("/proc/self/fd")) GTEST_SKIP() << "/proc is not mounted";
  std::string directory = (fs::temp_directory_path() / "dumpsXXXXXX").string();
  ASSERT_NE(mkdtemp(directory.data()), nullptr);
  std::string const refusal = faults::InAProcess([&] { return desktop::MountCalibration(directory); });
  if (!refusal.empty()) GTEST_SKIP() << refusal;
  for (Disk const& disk : kDisks) {
    std::string const problem = faults::InAProcess([&] {
      // A mount namespace of the process's own, in which to mount what is wrong.
      if (std::string const refused = desktop::MountCalibration(directory); !refused.empty()) return refused;
      fs::path const place = fs::path(directory) / disk.name;
      fs::create_directory(place);
      fs::current_path(place);
      return Try(disk);
    });
    EXPECT_EQ(problem, "") << disk.name;
  }
  fs::remove_all(directory);
}

}  // namespace
