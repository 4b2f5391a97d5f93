// The exports and the dependencies of the built library, as the tool chain reports them.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include "tools/shadingctl/doctor/ShadingInterface.h"

namespace {

using testing::ContainerEq;
using testing::UnorderedElementsAre;
using testing::UnorderedElementsAreArray;

// The first group of every line of the command's output that matches.
std::vector<std::string> Lines(std::string const& command, char const* expression) {
  std::vector<std::string> found;
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> const pipe(popen(command.c_str(), "r"), pclose);
  std::regex const pattern(expression);
  char line[1024];
  while (pipe && std::fgets(line, sizeof line, pipe.get()) != nullptr) {
    std::smatch match;
    std::string text = line;
    text.erase(text.find_last_not_of('\n') + 1);
    if (std::regex_match(text, match, pattern)) found.push_back(match[1]);
  }
  return found;
}

using Names = std::multiset<std::string>;  // without parameters

Names NamesOf(std::string const& command, char const* expression) {
  auto const lines = Lines(command, expression);
  return {lines.begin(), lines.end()};
}

// The one list that is written by hand, lsc/exports.map, whose names stand on lines of their own. A constructor is
// exported twice, as the constructor of complete objects and of base-class subobjects.
Names NamesInTheMap() {
  Names names = NamesOf("cat '" SOURCE_DIRECTORY "/lsc/exports.map'", " +\"?((\\w|::| )+)\"?\\*?;");
  names.insert("VeyraShadingUtil::VeyraShadingUtil");
  return names;
}

TEST(Library, ExportsWhatItsMapNamesAsTheReferencesHaveIt) {
  EXPECT_THAT(NamesOf("nm -D -C --defined-only '" LIBRARY_FILE "'", "[0-9a-f]+ . ([^@(]*).*"),
              ContainerEq(NamesInTheMap()));
  for (auto const& reference : std::filesystem::directory_iterator(SOURCE_DIRECTORY "/tools/abi")) {
    if (reference.path().extension() != ".abi") continue;
    std::string const command = "grep '<elf-symbol ' '" + reference.path().string() + "' | c++filt";
    EXPECT_THAT(NamesOf(command, " *<elf-symbol name='([^'(]*).*"), ContainerEq(NamesInTheMap())) << reference.path();
  }
}

TEST(Library, ExportsWhatTheDoctorAsksFor) {
  Names asked;
  auto const ask = [&](std::string const& name) {
    if (!name.empty()) asked.insert(name.substr(0, name.find('(')));  // destructors have none
  };
  std::for_each(shadingctl::kTableEntries.begin(), shadingctl::kTableEntries.end(), ask);
  std::for_each(shadingctl::kFurtherExports.begin(), shadingctl::kFurtherExports.end(), ask);
  EXPECT_THAT(asked, ContainerEq(NamesInTheMap()));
}

TEST(Library, NeedsThePlatformAndTheRunTimeByTheirNames) {
  std::vector<std::string> needed = {"liblog.so",
                                     "libvcam_vlog.so",
                                     "libcam.utils.so",
                                     "libhwconfigurationutil.so",
                                     "libcam.utils.sensorprovider.so",
                                     "libcam.halsensor.so",
                                     "libstdc++.so.6",
                                     "libc.so.6"};
#if defined(__aarch64__)
  needed.push_back("ld-linux-aarch64.so.1");  // holds the stack protector's guard on this processor
#endif
  std::string const dynamic = "readelf -d '" LIBRARY_FILE "'";
  EXPECT_THAT(Lines(dynamic, ".*\\(NEEDED\\).*\\[(.*)\\]"), UnorderedElementsAreArray(needed));
  EXPECT_THAT(Lines(dynamic, ".*\\(SONAME\\).*\\[(.*)\\]"), UnorderedElementsAre("libvcam_shadingutil.so"));
}

TEST(Library, HasNoTypeInformationOfItsOwnAndDoesNotNameThePlaceOfItsBuild) {
  EXPECT_TRUE(Lines("nm --defined-only -C '" LIBRARY_FILE "'", ".*(typeinfo for Veyra).*").empty());
  EXPECT_TRUE(Lines("strings -a '" LIBRARY_FILE "'", ".*(" SOURCE_DIRECTORY ").*").empty());
  EXPECT_FALSE(Lines("strings -a '" LIBRARY_FILE "'", "(hardware/camera/.*/lsc/VeyraShadingUtil/.*)").empty());
}

}  // namespace
