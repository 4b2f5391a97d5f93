#include "hosting/HostLibrary.h"

#include <dlfcn.h>
#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "hosting/ElfImage.h"
#include "hosting/UnusableInput.h"

namespace hosting {

std::string DefaultLibraryPath() {
  std::error_code error;
  auto const program = std::filesystem::read_symlink("/proc/self/exe", error);
  if (error) throw UnusableInput(fmt::format("/proc/self/exe: cannot be read: {}", error.message()));
  return (program.parent_path().parent_path() / LIBRARY_DIRECTORY / "libvcam_shadingutil.so").string();
}

namespace {

// A path without a slash would be searched for in the system's directories.
std::string FileOf(std::string const& path) { return path.find('/') == std::string::npos ? "./" + path : path; }

bool IsLoaded(void const* address) {
  Dl_info info = {};
  return address != nullptr && dladdr(address, &info) != 0;
}

// The host calls through the object's virtual table: calling through a missing one would crash.
bool HasTable(VeyraShadingUtil const* object) {
  constexpr int kEntries = 13;
  void const* const* const table = *reinterpret_cast<void const* const* const*>(object);
  if (!IsLoaded(table)) return false;
  return std::all_of(table, table + kEntries, IsLoaded);
}

}  // namespace

VeyraShadingUtil& LoadShadingLibrary(std::string const& path) {
  std::string const file = FileOf(path);
  ElfImage::ExpectLoadable(path);
  void* const library = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) throw UnusableInput(fmt::format("{}: cannot be loaded: {}", path, dlerror()));
  void* const symbol = dlsym(library, "createInstance");
  if (symbol == nullptr) throw UnusableInput(fmt::format("{}: is no shading library: {}", path, dlerror()));
  auto const createInstance = reinterpret_cast<VeyraShadingUtil* (*)()>(symbol);
  VeyraShadingUtil* const object = createInstance();
  if (object == nullptr) throw UnusableInput(fmt::format("{}: createInstance hands out no object", path));
  if (!HasTable(object)) {
    throw UnusableInput(fmt::format("{}: createInstance hands out an object without a table of operations", path));
  }
  return *object;
}

int* FindSwitch(std::string const& path, char const* name) {
  void* const library = dlopen(FileOf(path).c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NOLOAD);
  return library == nullptr ? nullptr : static_cast<int*>(dlsym(library, name));
}

}  // namespace hosting
