#include "platform/desktop/CalibrationMount.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <system_error>

namespace desktop {
namespace {

namespace fs = std::filesystem;

std::string Because(std::string const& what) { return what + ": " + std::strerror(errno); }

std::string Write(char const* file, std::string const& text) {
  std::ofstream stream(file);
  stream << text << std::flush;
  return stream ? std::string() : Because(file);
}

// A mount namespace in which nothing that is mounted reaches other processes. Root does not need a user namespace of
// its own, but may lack the right all the same, in a container for instance.
std::string EnterPrivateNamespace() {
  uid_t const user = geteuid();
  gid_t const group = getegid();
  if (unshare(CLONE_NEWNS) != 0) {
    if (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) {
      return Because("no private mount namespace (needs root or user namespaces)");
    }
    auto const same = [](auto id) { return std::to_string(id) + " " + std::to_string(id) + " 1"; };
    if (auto error = Write("/proc/self/setgroups", "deny"); !error.empty()) return error;
    if (auto error = Write("/proc/self/uid_map", same(user)); !error.empty()) return error;
    if (auto error = Write("/proc/self/gid_map", same(group)); !error.empty()) return error;
  }
  if (mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) return Because("mounts cannot be made private");
  return {};
}

std::string Bind(fs::path const& from, fs::path const& to) {
  if (mount(from.c_str(), to.c_str(), nullptr, MS_BIND | MS_REC, nullptr) == 0) return {};
  return Because(to.string() + " cannot be mounted");
}

// An empty file system in place of /mnt with the directory in question, and with everything that was below /mnt before.
std::string MakeRoomBelowMnt() {
  fs::path const top = "/mnt";
  int const before = open(top.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
  if (before < 0) return Because("/mnt");
  if (mount("tmpfs", top.c_str(), "tmpfs", 0, "mode=0755") != 0) return Because("/mnt cannot be mounted");

  std::error_code failure;
  fs::path const old = "/proc/self/fd/" + std::to_string(before);
  for (auto const& entry : fs::directory_iterator(old, failure)) {
    fs::path const place = top / entry.path().filename();
    if (entry.is_symlink(failure)) {
      fs::copy_symlink(entry.path(), place, failure);
    } else if (entry.is_directory(failure)) {
      fs::create_directory(place, failure);
      if (auto error = Bind(entry.path(), place); !error.empty()) return error;
    } else {
      std::ofstream(place).close();
      if (auto error = Bind(entry.path(), place); !error.empty()) return error;
    }
  }
  close(before);
  fs::create_directories(kCalibrationDirectory, failure);
  return failure ? std::string(kCalibrationDirectory) + ": " + failure.message() : std::string();
}

}  // namespace

std::string MountCalibration(std::string const& directory) {
  static bool entered = false;
  std::error_code failure;
  bool const isInMemory = directory.empty();
  fs::path const source = isInMemory ? fs::path() : fs::canonical(directory, failure);
  if (!isInMemory && (failure || !fs::is_directory(source))) return directory + ": no such directory";

  if (!entered) {
    if (auto error = EnterPrivateNamespace(); !error.empty()) return error;
    entered = true;
  }
  if (!fs::is_directory(kCalibrationDirectory, failure)) {
    if (auto error = MakeRoomBelowMnt(); !error.empty()) return error;
  }
  if (!isInMemory) return Bind(source, kCalibrationDirectory);
  if (mount("tmpfs", kCalibrationDirectory, "tmpfs", 0, "mode=0755") == 0) return {};
  return Because(std::string(kCalibrationDirectory) + " cannot be mounted");
}

}  // namespace desktop
