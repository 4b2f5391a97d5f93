#include "tools/shadingctl/output/FileIdentity.h"

#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <optional>
#include <system_error>

#include "hosting/UnusableInput.h"
#include "tools/shadingctl/output/OutputFile.h"

namespace shadingctl {
namespace {

namespace fs = std::filesystem;

constexpr int kMostLinks = 40;  // as the system follows at most

struct Identity {
  dev_t device = 0;
  ino_t node = 0;
  std::string name;  // of a file that does not exist: its path from the directory `node`

  bool operator==(Identity const& other) const {
    return device == other.device && node == other.node && name == other.name;
  }
};

Identity Of(struct stat const& status) { return {status.st_dev, status.st_ino, {}}; }

// Empty for a device, which loses nothing.
std::optional<Identity> Identify(std::string const& path, int stream) {
  struct stat status = {};
  if (path == kStandardOutput) {
    return fstat(stream, &status) == 0 ? std::optional<Identity>(Of(status)) : std::nullopt;
  }
  if (stat(path.c_str(), &status) == 0) {
    return S_ISCHR(status.st_mode) ? std::nullopt : std::optional<Identity>(Of(status));
  }
  fs::path const target(WithoutLinks(path));
  fs::path name = target.filename();
  fs::path directory = target.parent_path();
  while (stat(directory.empty() ? "." : directory.c_str(), &status) != 0) {
    if (!directory.has_relative_path()) return std::nullopt;
    name = directory.filename() / name;  // a directory that will be made, or opening the file will say that it is none
    directory = directory.parent_path();
  }
  return Identity{status.st_dev, status.st_ino, name.lexically_normal().string()};
}

struct Named {
  std::string name;
  char const* role;
  Identity identity;
};

void RefuseIfSame(Named const& one, Named const& other) {
  if (!(one.identity == other.identity)) return;
  throw hosting::UnusableInput(fmt::format("{}: is the same file as {}, {}", one.name, other.name, other.role));
}

}  // namespace

std::string WithoutLinks(std::string const& path) {
  fs::path target(path);
  std::error_code failure;
  for (int i = 0; i < kMostLinks && fs::is_symlink(target, failure); ++i) {
    fs::path const next = fs::read_symlink(target, failure);
    target = next.is_absolute() ? next : target.parent_path() / next;
  }
  return target.string();
}

void RefuseOverwriting(std::vector<std::string> const& inputs, std::vector<std::string> const& outputs) {
  std::vector<Named> used;
  for (std::string const& input : inputs) {
    std::string const name = input == kStandardInput ? "standard input" : input;
    if (auto const identity = Identify(input, STDIN_FILENO)) used.push_back({name, "which is read", *identity});
  }
  for (std::string const& path : outputs) {
    auto const identity = Identify(path, STDOUT_FILENO);
    if (!identity) continue;
    Named const output = {path == kStandardOutput ? "standard output" : path, "which is written too", *identity};
    for (Named const& other : used) RefuseIfSame(output, other);
    used.push_back(output);
  }
  // Where standard output and standard error are files, the shell has opened them; both may be the same one.
  for (int const stream : {STDOUT_FILENO, STDERR_FILENO}) {
    struct stat status = {};
    if (fstat(stream, &status) != 0 || !S_ISREG(status.st_mode)) continue;
    Named const redirected = {stream == STDOUT_FILENO ? "standard output" : "standard error", "", Of(status)};
    for (Named const& other : used) {
      if (other.name != "standard output") RefuseIfSame(redirected, other);
    }
  }
}

}  // namespace shadingctl
