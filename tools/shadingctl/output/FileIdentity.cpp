#include "tools/shadingctl/output/FileIdentity.h"

#include <fmt/format.h>

#include <filesystem>
#include <system_error>

#include "hosting/UnusableInput.h"
#include "tools/shadingctl/output/OutputFile.h"

namespace shadingctl {
namespace {

namespace fs = std::filesystem;

constexpr int kMostLinks = 40;  // as the system follows at most
constexpr char kOutput[] = "/proc/self/fd/1";
constexpr char kErrors[] = "/proc/self/fd/2";

struct Named {
  std::string name;
  char const* role;
  fs::path path;
};

// Standard output and standard error by the names that the system has for them, others absolute and without links.
Named NameOf(std::string const& name, char const* role, char const* stream, char const* streamName) {
  if (name == kStandardOutput) return {streamName, role, stream};
  std::error_code failure;
  fs::path const path = fs::absolute(WithoutLinks(name));
  fs::path const canonical = fs::weakly_canonical(path, failure);
  return {name, role, failure ? path.lexically_normal() : canonical};
}

// Of files that do not exist the names are compared. A device loses nothing when it is named twice.
void RefuseIfSame(Named const& one, Named const& other) {
  std::error_code failure;
  if (fs::is_character_file(one.path, failure)) return;
  if (one.path != other.path && !fs::equivalent(one.path, other.path, failure)) return;
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
    used.push_back(NameOf(input, "which is read", "/proc/self/fd/0", "standard input"));
  }
  for (std::string const& path : outputs) {
    Named const output = NameOf(path, "which is written too", kOutput, "standard output");
    for (Named const& other : used) RefuseIfSame(output, other);
    used.push_back(output);
  }
  // Where standard output and standard error are files, the shell has opened them; both may be the same one.
  for (char const* const stream : {kOutput, kErrors}) {
    std::error_code failure;
    if (!fs::is_regular_file(stream, failure)) continue;
    Named const redirected = {stream == kOutput ? "standard output" : "standard error", "", stream};
    for (Named const& other : used) {
      if (other.path != kOutput) RefuseIfSame(redirected, other);
    }
  }
}

}  // namespace shadingctl
