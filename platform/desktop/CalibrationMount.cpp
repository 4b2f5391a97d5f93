#include "platform/desktop/CalibrationMount.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/syscall.h>
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

// The directory that the process works in, and works in again once the object is gone.
class WorkingDirectory {
 public:
  WorkingDirectory() = default;
  ~WorkingDirectory() {
    [[maybe_unused]] int const status = fchdir(mDescriptor);
    close(mDescriptor);
  }
  WorkingDirectory(WorkingDirectory const&) = delete;
  WorkingDirectory& operator=(WorkingDirectory const&) = delete;

 private:
  int const mDescriptor = open(".", O_PATH | O_DIRECTORY | O_CLOEXEC);
};

bool MakeRootPrivate() { return mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0; }

// Keeps the namespace's mounts from reaching other ones. In a plain chroot "/" is no mount point, which alone has a
// propagation: entering a mount namespace, the process's own as well, makes its root that of the process for the
// moment.
std::string MakeMountsPrivate() {
  if (MakeRootPrivate()) return {};
  WorkingDirectory const here;
  int const root = open("/", O_PATH | O_DIRECTORY | O_CLOEXEC);
  int const self = static_cast<int>(syscall(SYS_pidfd_open, getpid(), 0));
  std::string error;
  if (setns(self, CLONE_NEWNS) != 0 || !MakeRootPrivate()) error = Because("mounts cannot be made private");
  if (fchdir(root) != 0 || chroot(".") != 0) error = Because("the root cannot be entered again");
  close(self);
  close(root);
  return error;
}

// A mount namespace in which nothing that is mounted reaches other processes. Root does not need a user namespace of
// its own, but may lack the right all the same, in a container for instance.
std::string EnterPrivateNamespace() {
  uid_t const user = geteuid();
  gid_t const group = getegid();
  if (unshare(CLONE_NEWNS) != 0) {
    if (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) {
      return Because(user == 0
                         ? "no private mount namespace (root lacks CAP_SYS_ADMIN, and user namespaces are refused)"
                         : "no private mount namespace (user namespaces are refused: needs root)");
    }
    auto const same = [](auto id) { return std::to_string(id) + " " + std::to_string(id) + " 1"; };
    if (auto error = Write("/proc/self/setgroups", "deny"); !error.empty()) return error;
    if (auto error = Write("/proc/self/uid_map", same(user)); !error.empty()) return error;
    if (auto error = Write("/proc/self/gid_map", same(group)); !error.empty()) return error;
  }
  return MakeMountsPrivate();
}

std::string Bind(fs::path const& from, fs::path const& to) {
  if (mount(from.c_str(), to.c_str(), nullptr, MS_BIND | MS_REC, nullptr) == 0) return {};
  return Because(to.string() + " cannot be mounted");
}

// An empty file system in place of /mnt with the directory in question, and with everything that was below /mnt before.
std::string MakeRoomBelowMnt() {
  fs::path const top = "/mnt";
  WorkingDirectory const here;
  if (chdir(top.c_str()) != 0) return Because("/mnt");  // the directory below the new file system
  if (mount("tmpfs", top.c_str(), "tmpfs", 0, "mode=0755") != 0) return Because("/mnt cannot be mounted");

  std::error_code failure;
  for (auto const& entry : fs::directory_iterator(".", failure)) {
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
