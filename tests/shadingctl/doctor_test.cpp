// What `shadingctl doctor` says about sound, damaged, truncated and foreign files.
#include <elf.h>
#include <gtest/gtest.h>

#include <algorithm>
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
std::vector<std::string> DiagnoseBytes(std::string const& bytes) {
  std::vector<std::string> lines;
  for (Finding const& finding : Diagnose(ReadElf(bytes, "library", kTableName))) {
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
     {"FAULT exports: vtable for VeyraShadingUtil: expected 120 bytes, found 128"}},
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
  std::pair<char const*, char const*> const files[] = {{"text", "text: expected an ELF file"},
                                                       {"empty", "empty: expected an ELF file"},
                                                       {"narrow", "narrow: expected a 64-bit ELF file"},
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

TEST(Doctor, AnotherLibraryIsToldOnceAndNotLoadedForItsObject) {
  Outcome const outcome = RunTool("doctor --load " OTHER_LIBRARY);
  EXPECT_EQ(outcome.exitCode, 1);
  EXPECT_NE(outcome.out.find("FAULT  exports            none of the 31 names: this is no shading library\n"),
            std::string::npos)
      << outcome.out;
  EXPECT_NE(outcome.out.find("is no shading library: "), std::string::npos) << outcome.out;
}

TEST(Doctor, ALibraryThatCrashesWhenLoadedIsAFault) {
  Outcome const outcome = RunTool("doctor --load --format json " CRASHING_LIBRARY);
  EXPECT_EQ(outcome.exitCode, 1) << outcome.err;
  auto const json = nlohmann::json::parse(outcome.out);
  EXPECT_EQ(json["sound"], false);
  EXPECT_EQ(json["findings"].back()["verdict"], "FAULT");
  EXPECT_EQ(json["findings"].back()["text"], "ended by signal 6 (Aborted)");
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
