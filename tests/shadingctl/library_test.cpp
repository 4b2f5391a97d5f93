// Files that are no library, truncated libraries, and unusable objects: reported, never a crash.
#include <gtest/gtest.h>

#include <string>

#include "tests/shadingctl/Program.h"

namespace shadingctl {
namespace {

class Library : public testing::Test {
 protected:
  Library() { WriteWorkedRecording(mPlace); }

  Outcome Play(std::string const& content) const {
    mPlace.Write("library.so", content);
    return RunTool("replay --quiet --library " + mPlace.Path() + "/library.so " + mPlace.Path());
  }
  std::string Told(Outcome const& outcome) const { return Replaced(outcome.err, mPlace.Path() + "/", ""); }

  TemporaryDirectory const mPlace;
  std::string const mWhole = ReadFile(BUILT_LIBRARY);
};

TEST_F(Library, CutAnywhereIsRefusedOrWhole) {
  ASSERT_GT(mWhole.size(), 10000U);
  for (std::size_t size = 0; size < mWhole.size(); size += mWhole.size() / 40) {
    Outcome const outcome = Play(mWhole.substr(0, size));
    if (outcome.exitCode == 0) continue;  // all that is loaded was there: the rest is for linkers and debuggers
    EXPECT_EQ(outcome.exitCode, 3) << "at " << size;
    std::string const reason = size < 4 ? "is no library: expected an ELF file" : "is cut: expected at least ";
    EXPECT_EQ(Told(outcome).rfind("shadingctl: library.so: " + reason, 0), 0U) << Told(outcome);
  }
}

TEST_F(Library, ThatCannotBeLoadedSaysWhy) {
  auto const with = [&](std::size_t at, char byte) {
    std::string changed = mWhole;
    changed[at] = byte;
    return changed;
  };
  struct {
    std::string content;
    char const* told;
  } const rows[] = {
      {"#!/bin/sh\n", "is no library: expected an ELF file, found one that begins with '#!/b'"},
      {with(4, 1), "is a library for another processor: "},          // 32 bits
      {with(18, '\x28'), "is a library for another processor: "},    // a 32-bit phone's
      {with(16, 2), "is no shared object"},                          // a program
      {with(56, 0), "is no shared object: it has nothing to load"},  // no segments
      {with(36, '\x7f'), "is cut: "},                                // its table lies beyond the end
  };
  for (auto const& row : rows) {
    Outcome const outcome = Play(row.content);
    EXPECT_EQ(outcome.exitCode, 3) << row.told;
    EXPECT_EQ(Told(outcome).rfind(std::string("shadingctl: library.so: ") + row.told, 0), 0U) << Told(outcome);
  }
  EXPECT_EQ(RunTool("replay --library /tmp").err, "shadingctl: /tmp: is no library: expected a regular file\n");
}

TEST_F(Library, WithoutATableIsNotCalled) {
  for (std::string const kind : {"0", "1", "2"}) {
    Outcome const outcome = RunScript("KIND_OF_TABLE=" + kind + " shadingctl replay --library " TABLELESS_LIBRARY);
    EXPECT_EQ(outcome.exitCode, 3) << kind;
    EXPECT_EQ(outcome.err,
              "shadingctl: " TABLELESS_LIBRARY ": createInstance hands out an object without a table of operations\n");
  }
  EXPECT_EQ(RunTool("replay --library " TABLELESS_LIBRARY).err,
            "shadingctl: " TABLELESS_LIBRARY ": createInstance hands out no object\n");
}

}  // namespace
}  // namespace shadingctl
