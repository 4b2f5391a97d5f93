// What `shadingctl doctor` says about sound, damaged, truncated and foreign files.
#include <elf.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <nlohmann/json.hpp>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "hosting/UnusableInput.h"
#include "tests/shadingctl/Program.h"
#include "tools/shadingctl/doctor/Diagnosis.h"
#include "tools/shadingctl/doctor/ShadingInterface.h"

namespace shadingctl {
namespace {

// "FAULT exports: ..." for each finding.
std::vector<std::string> DiagnoseBytes(std::string const& bytes, bool isForPhone = false) {
  std::vector<std::string> lines;
  for (Finding const& finding : Diagnose(ReadElf(bytes, "library", kTableName), isForPhone)) {
    char const* const verdict = finding.judgement == Judgement::kFault ? "FAULT " : "";
    lines.push_back(verdict + finding.check + ": " + finding.text);
  }
  return lines;
}

// The built library's bytes, to be damaged on purpose.
class Damaged {
 public:
  std::string bytes = ReadFile(BUILT_LIBRARY);

  template <typename Record>
  Record* At(std::uint64_t offset) {
    return reinterpret_cast<Record*>(bytes.data() + offset);
  }

  void ForSegments(std::uint32_t type, std::function<void(Elf64_Phdr&)> const& damage) {
    auto const* const header = At<Elf64_Ehdr>(0);
    for (unsigned int i = 0; i < header->e_phnum; ++i) {
      auto* const segment = At<Elf64_Phdr>(header->e_phoff + i * sizeof(Elf64_Phdr));
      if (segment->p_type == type) damage(*segment);
    }
  }

  template <typename Record>
  void ForRecords(std::uint32_t sectionType, std::function<void(Record&)> const& damage) {
    auto const* const header = At<Elf64_Ehdr>(0);
    for (unsigned int i = 0; i < header->e_shnum; ++i) {
      auto const* const section = At<Elf64_Shdr>(header->e_shoff + i * sizeof(Elf64_Shdr));
      if (section->sh_type != sectionType) continue;
      mStrings = At<Elf64_Shdr>(header->e_shoff + section->sh_link * sizeof(Elf64_Shdr))->sh_offset;
      for (std::uint64_t at = 0; at < section->sh_size; at += sizeof(Record))
        damage(*At<Record>(section->sh_offset + at));
    }
  }

  void ForDynamic(std::int64_t tag, std::function<void(Elf64_Dyn&)> const& damage) {
    ForRecords<Elf64_Dyn>(SHT_DYNAMIC, [&](Elf64_Dyn& entry) {
      if (entry.d_tag == tag) damage(entry);
    });
  }

  // The dynamic symbol of this name, and its number.
  std::pair<Elf64_Sym*, std::uint64_t> Symbol(std::string const& name) {
    std::pair<Elf64_Sym*, std::uint64_t> found = {nullptr, 0};
    std::uint64_t number = 0;
    ForRecords<Elf64_Sym>(SHT_DYNSYM, [&](Elf64_Sym& symbol) {
      if (name == bytes.data() + mStrings + symbol.st_name) found = {&symbol, number};
      ++number;
    });
    EXPECT_NE(found.first, nullptr) << name;
    return found;
  }

  // The relocation that fills the table's entry.
  Elf64_Rela* Entry(std::uint64_t number) {
    std::uint64_t const address = Symbol(kTableName).first->st_value + kTableHeadBytes + 8 * number;
    Elf64_Rela* found = nullptr;
    ForRecords<Elf64_Rela>(SHT_RELA, [&](Elf64_Rela& relocation) {
      if (relocation.r_offset == address) found = &relocation;
    });
    EXPECT_NE(found, nullptr) << number;
    return found;
  }

  // Makes the table longer by an entry that is the same as another one.
  void AppendEntry(std::uint64_t same) {
    Elf64_Sym& table = *Symbol(kTableName).first;
    Elf64_Rela const copied = *Entry(same);
    Elf64_Rela* spare = nullptr;
    ForRecords<Elf64_Rela>(SHT_RELA, [&](Elf64_Rela& relocation) {
      if (relocation.r_offset - table.st_value >= table.st_size) spare = &relocation;
    });
    *spare = {table.st_value + table.st_size, copied.r_info, copied.r_addend};
    table.st_size += 8;
  }

  // Texts of one length.
  void Rename(std::string const& from, std::string const& to) {
    ASSERT_EQ(from.size(), to.size());
    for (std::size_t at = 0; (at = bytes.find(from + '\0', at)) != std::string::npos;) bytes.replace(at, to.size(), to);
  }

 private:
  std::uint64_t mStrings = 0;
};

struct Damage {
  char const* name;
  std::function<void(Damaged&)> apply;
  std::vector<std::string> faults;  // that it adds
};

std::ostream& operator<<(std::ostream& stream, Damage const& damage) { return stream << damage.name; }

class DamagedLibrary : public testing::TestWithParam<Damage> {};

TEST_P(DamagedLibrary, IsToldAtTheRightPlace) {
  Damaged library;
  std::vector<std::string> const before = DiagnoseBytes(library.bytes);
  GetParam().apply(library);
  std::vector<std::string> added;
  for (std::string const& line : DiagnoseBytes(library.bytes)) {
    if (std::find(before.begin(), before.end(), line) == before.end()) added.push_back(line);
  }
  EXPECT_EQ(added, GetParam().faults);
}

std::vector<Damage> const kDamages = {
    {"EntriesInAnotherOrder",
     [](Damaged& library) { std::swap(library.Entry(5)->r_offset, library.Entry(6)->r_offset); },
     {"FAULT table: entry 5: expected VeyraShadingUtil::RegisterSensorMonitor(int, int), found "
      "VeyraShadingUtil::StartSensorMonitor(int, int)",
      "FAULT table: entry 6: expected VeyraShadingUtil::StartSensorMonitor(int, int), found "
      "VeyraShadingUtil::RegisterSensorMonitor(int, int)"}},
    {"DestructorReplaced",
     [](Damaged& library) { library.Entry(2)->r_info = library.Entry(11)->r_info; },
     {"FAULT table: entry 2: expected a destructor, found VeyraShadingUtil::IsSupportSensor(int)"}},
    {"EntryUnfilled",
     [](Damaged& library) { library.Entry(11)->r_info = 0; },
     {"FAULT table: entry 11: expected VeyraShadingUtil::IsSupportSensor(int), found nothing"}},
    {"LongerTable",
     [](Damaged& library) { library.Symbol(kTableName).first->st_size += 8; },
     {"FAULT table: entry 13: expected an operation, found nothing"}},
    {"TableOfAnotherSize",
     [](Damaged& library) { library.Symbol(kTableName).first->st_size += 4; },
     {"FAULT exports: vtable for VeyraShadingUtil: expected 120 bytes, found 124"}},
    {"OperationAppended",
     [](Damaged& library) { library.AppendEntry(11); },
     {"table: entry 13 is of a later interface: VeyraShadingUtil::IsSupportSensor(int)"}},
    {"WiderGlobal",
     [](Damaged& library) { library.Symbol("gLogLevel").first->st_size = 8; },
     {"FAULT exports: gLogLevel: expected 4 bytes, found 8"}},
    {"RenamedOperation",
     [](Damaged& library) { library.Rename("_ZN16VeyraShadingUtil9IsEnabledEi", "_ZN16VeyraShadingUtil9IsEnabledEj"); },
     {"FAULT exports: VeyraShadingUtil::IsEnabled(int) is missing",
      "FAULT exports: VeyraShadingUtil::IsEnabled(unsigned int) is no part of the interface"}},
    {"OtherName",
     [](Damaged& library) { library.Rename("libvcam_shadingutil.so", "libvcam_shadingutil.s1"); },
     {"FAULT name: expected libvcam_shadingutil.so, found libvcam_shadingutil.s1"}},
    {"OtherLibraryNeeded",
     [](Damaged& library) { library.Rename("liblog.so", "libbog.so"); },
     {"FAULT needed: liblog.so is missing",
      "FAULT needed: libbog.so is neither the platform's nor part of the run time"}},
    {"WritableRelocations",
     [](Damaged& library) { library.ForSegments(PT_GNU_RELRO, [](Elf64_Phdr& segment) { segment.p_type = PT_NULL; }); },
     {"FAULT relocations: stay writable"}},
    {"LazyBinding",
     [](Damaged& library) {
       for (std::int64_t const tag : {DT_FLAGS, DT_FLAGS_1, DT_BIND_NOW}) {
         library.ForDynamic(tag, [](Elf64_Dyn& entry) { entry = {DT_DEBUG, {0}}; });
       }
     },
     {"FAULT binding: expected every symbol to be bound at load, found lazy binding"}},
    {"ExecutableStack",
     [](Damaged& library) { library.ForSegments(PT_GNU_STACK, [](Elf64_Phdr& segment) { segment.p_flags |= PF_X; }); },
     {"FAULT stack: executable"}},
    {"NothingSaidOfTheStack",
     [](Damaged& library) { library.ForSegments(PT_GNU_STACK, [](Elf64_Phdr& segment) { segment.p_type = PT_NULL; }); },
     {"FAULT stack: expected a file that says that it is not executable, found none"}},
    {"WritableCode",
     [](Damaged& library) {
       library.ForSegments(PT_LOAD, [](Elf64_Phdr& segment) {
         if ((segment.p_flags & PF_X) != 0) segment.p_flags |= PF_W;
       });
     },
     {"FAULT code: the loader or the program can write into code"}},
    {"SmallPages",
     [](Damaged& library) {
       library.ForSegments(PT_LOAD, [](Elf64_Phdr& segment) {
         if (segment.p_offset == 0) segment.p_align = 2048;
       });
     },
     {"FAULT page size: the segment at 0x0 is aligned to 2048, expected 16384"}},
    {"NoBuildId",
     [](Damaged& library) {
       library.ForRecords<Elf64_Nhdr>(SHT_NOTE, [](Elf64_Nhdr& note) {
         if (note.n_type == NT_GNU_BUILD_ID) note.n_type = 77;
       });
     },
     {"FAULT build id: there is none"}},
};

INSTANTIATE_TEST_SUITE_P(All, DamagedLibrary, testing::ValuesIn(kDamages),
                         [](auto const& damage) { return damage.param.name; });

TEST(Doctor, EveryTruncatedFileIsTold) {
  std::string const whole = ReadFile(BUILT_LIBRARY);
  std::size_t const step = whole.size() / 20'000 + 1;
  for (std::size_t size = 0; size < whole.size(); size += step) {
    EXPECT_THROW(ReadElf(whole.substr(0, size), "cut", kTableName), hosting::UnusableInput) << size;
  }
}

TEST(Doctor, NoBrokenByteTakesItDown) {
  std::string bytes = ReadFile(BUILT_LIBRARY);
  std::size_t const step = bytes.size() / 10'000 + 1;
  for (std::size_t at = 0; at < bytes.size(); at += step) {
    bytes[at] = static_cast<char>(~bytes[at]);
    try {
      ReadElf(bytes, "flipped", kTableName);
    } catch (hosting::UnusableInput const& unusable) {
      EXPECT_EQ(std::string(unusable.what()).rfind("flipped: ", 0), 0U) << unusable.what();
    }
    bytes[at] = static_cast<char>(~bytes[at]);
  }
}

TEST(Doctor, ForeignFilesAreUnusable) {
  TemporaryDirectory const directory;
  directory.Write("text", "no library\n");
  directory.Write("empty", "");
  std::string narrow = ReadFile(BUILT_LIBRARY);
  narrow[EI_CLASS] = ELFCLASS32;
  directory.Write("narrow", narrow);
  std::string other = ReadFile(BUILT_LIBRARY);
  other[18] = '\xF3';  // EM_RISCV
  other[19] = 0;
  directory.Write("other", other);
  std::pair<char const*, char const*> const files[] = {{"text", "text: is no library: expected an ELF file"},
                                                       {"empty", "empty: is no library: expected an ELF file"},
                                                       {"narrow", "narrow: is a library for another processor: "},
                                                       {"other", "found ELF machine 243"},
                                                       {"missing", "missing: cannot be read: No such file"},
                                                       {".", ": cannot be read: Is a directory"}};
  for (auto const& [name, told] : files) {
    Outcome const outcome = RunTool("doctor " + directory.Path() + "/" + name);
    EXPECT_EQ(outcome.exitCode, 3) << name;
    EXPECT_EQ(outcome.out, "") << name;
    EXPECT_NE(outcome.err.find(told), std::string::npos) << outcome.err;
  }
}

TEST(Doctor, WhatIsNoShadingLibraryIsToldOnceAndNotLoaded) {
  std::pair<char const*, char const*> const files[] = {
      {OTHER_LIBRARY, "none of the 31 names: this is no shading library"},
      {TAP, "this is a tap; the library is libvcam_shadingutil.so.real"}};
  for (auto const& [file, told] : files) {
    Outcome const outcome = RunTool(std::string("doctor --load ") + file);
    EXPECT_EQ(outcome.exitCode, 1);
    auto const lines = Lines(outcome.out);
    ASSERT_GE(lines.size(), 2U) << outcome.out;
    EXPECT_EQ(lines[1], std::string("FAULT  exports            ") + told);
    for (char const* const check : {"name", "table", "needed", "load"}) {
      EXPECT_EQ(outcome.out.find(std::string("  ") + check + "  "), std::string::npos) << outcome.out;
    }
  }
}

TEST(Doctor, ForAPhoneADesktopsRunTimeIsAFault) {
  Damaged library;
  library.At<Elf64_Ehdr>(0)->e_machine = EM_X86_64;
  EXPECT_EQ(DiagnoseBytes(library.bytes, true).front(), "FAULT processor: expected AArch64, found x86-64");
  library.At<Elf64_Ehdr>(0)->e_machine = EM_AARCH64;
  std::string const fault = "FAULT needed: libc.so.6 is of a desktop's run time: no phone has it";
  auto const has = [&](std::vector<std::string> const& lines) {
    return std::find(lines.begin(), lines.end(), fault) != lines.end();
  };
  EXPECT_TRUE(has(DiagnoseBytes(library.bytes, true)));
  EXPECT_FALSE(has(DiagnoseBytes(library.bytes)));
}

// What a hostile library does while it is loaded; a command that plays to it says the same.
TEST(Doctor, ALibraryThatHarmsItsHostIsAFault) {
  struct {
    char const* act;
    char const* told;
    char const* written;
  } const rows[] = {
#ifndef EMULATED  // the emulator itself writes of a signal
      {"crash", "ended by signal 6 (Aborted)", ""},
#endif
      {"exit", "ends its host (exit code 0)", ""},
      {"end", "ends its host (exit code 0)", ""},
      {"write", "createInstance hands out no object", "it writes '\\x1b[2J{\\n\\u202e'"}};
  for (auto const& row : rows) {
    std::string const act = "ACT=" + std::string(row.act) + " exec shadingctl ";
    Outcome const doctor = RunScript(act + "doctor --load --format json " HOSTILE_LIBRARY);
    EXPECT_EQ(doctor.exitCode, 1) << doctor.err;
    auto const json = nlohmann::json::parse(doctor.out);
    EXPECT_EQ(json["sound"], false);
    bool const writes = *row.written != '\0';
    auto const& findings = json["findings"];
    EXPECT_EQ(findings[findings.size() - (writes ? 2 : 1)]["text"], row.told) << doctor.out;
    EXPECT_EQ(findings.back()["text"], writes ? row.written : row.told);
    for (char const* const command : {"replay", "calibration"}) {
      Outcome const outcome = RunScript(act + command + " --library " HOSTILE_LIBRARY);
      EXPECT_EQ(outcome.exitCode, 3) << command;
      EXPECT_EQ(outcome.out, "") << command;
      EXPECT_EQ(outcome.err, std::string("shadingctl: " HOSTILE_LIBRARY ": ") + row.told + (writes ? "; " : "") +
                                 row.written + "\n");
    }
  }
}

TEST(Doctor, WhatALibraryWritesIsInNoResult) {
  Outcome const outcome =
      RunScript("ACT=write REAL=" BUILT_LIBRARY " shadingctl replay --format json --library " HOSTILE_LIBRARY);
  EXPECT_EQ(outcome.exitCode, 0);
  EXPECT_EQ(outcome.err, "shadingctl: " HOSTILE_LIBRARY ": it writes '\\x1b[2J{\\n\\u202e'\n");
  EXPECT_EQ(nlohmann::json::parse(outcome.out)["complete"], true);
}

// It ignores all signals, and has started another process that does.
TEST(Doctor, ALibraryThatHangsIsKilledWithAllThatItHasStarted) {
  TemporaryDirectory const place;
  setenv("ACT", "hang", 1);
  setenv("PIPE", (place.Path() + "/pipe").c_str(), 1);
  ASSERT_EQ(mkfifo(std::getenv("PIPE"), 0600), 0);
  for (int const signal : {SIGINT, SIGTERM, 0}) {
    StartedTool tool("doctor --load " HOSTILE_LIBRARY);
    int writer = -1;
    while (writer < 0 && tool.IsRunning()) writer = open(std::getenv("PIPE"), O_WRONLY | O_NONBLOCK);
    ASSERT_GE(writer, 0) << "it has started another process";
    close(writer);
    if (signal != 0) tool.Signal(signal);
    Outcome const outcome = tool.Finish();
    EXPECT_EQ(outcome.exitCode, signal == 0 ? 1 : 128 + signal);
    bool const isTold = outcome.out.find("FAULT  load               no answer within 5 s\n") != std::string::npos;
    EXPECT_EQ(isTold, signal == 0) << outcome.out;
    // What is killed needs a moment to end.
    for (int tries = 0; tries < 500 && (writer = open(std::getenv("PIPE"), O_WRONLY | O_NONBLOCK)) >= 0; ++tries) {
      close(writer);
      usleep(10000);
    }
    EXPECT_LT(writer, 0) << "which is gone";
  }
  unsetenv("ACT");
  unsetenv("PIPE");
}

TEST(Doctor, TheBuiltLibraryLoads) {
  Outcome const outcome = RunTool("doctor --load " BUILT_LIBRARY);
  EXPECT_NE(outcome.out.find("ok     load               createInstance hands out its object\n"), std::string::npos)
      << outcome.out;
}

#ifdef PHONE_LIBRARIES
// Relocations plain, packed in two ways, and bound to the library's own functions.
TEST(Doctor, ReadsTheTableOfEveryLinkersForm) {
  for (char const* const name : {"plain", "packed", "packed-relative", "symbolic", "relative"}) {
    std::vector<std::string> const lines = DiagnoseBytes(ReadFile(std::string(PHONE_LIBRARIES "/") + name + ".so"));
    for (char const* const expected :
         {"processor: AArch64, with libstdc++", "table: 13 entries in their order",
          "branch protection: branch targets and signed return addresses", "page size: up to 16 KiB"}) {
      EXPECT_NE(std::find(lines.begin(), lines.end(), expected), lines.end()) << name << ": " << expected;
    }
  }
}
#endif

}  // namespace
}  // namespace shadingctl
