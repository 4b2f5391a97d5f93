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
  constexpr char const* kVerdicts[] = {"ok ", "note ", "FAULT "};
  std::vector<std::string> lines;
  for (Finding const& finding : Diagnose(ReadElf(bytes, "library", kTableName), isForPhone)) {
    lines.push_back(kVerdicts[static_cast<std::size_t>(finding.judgement)] + finding.check + ": " + finding.text);
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
  char const* checks;  // that find something else than before
};

std::vector<Damage> const kDamages = {
    {"EntriesInAnotherOrder",
     [](Damaged& library) { std::swap(library.Entry(5)->r_offset, library.Entry(6)->r_offset); },
     "FAULT table, FAULT table"},
    {"DestructorReplaced", [](Damaged& library) { library.Entry(2)->r_info = library.Entry(11)->r_info; },
     "FAULT table"},
    {"EntryUnfilled", [](Damaged& library) { library.Entry(11)->r_info = 0; }, "FAULT table"},
    {"LongerTable", [](Damaged& library) { library.Symbol(kTableName).first->st_size += 8; }, "FAULT table"},
    {"TableOfAnotherSize", [](Damaged& library) { library.Symbol(kTableName).first->st_size += 4; }, "FAULT exports"},
    {"OperationAppended", [](Damaged& library) { library.AppendEntry(11); }, "note table"},
    {"WiderGlobal", [](Damaged& library) { library.Symbol("gLogLevel").first->st_size = 8; }, "FAULT exports"},
    {"RenamedOperation",
     [](Damaged& library) { library.Rename("_ZN16VeyraShadingUtil9IsEnabledEi", "_ZN16VeyraShadingUtil9IsEnabledEj"); },
     "FAULT exports, FAULT exports"},
    {"OtherName", [](Damaged& library) { library.Rename("libvcam_shadingutil.so", "libvcam_shadingutil.s1"); },
     "FAULT name"},
    {"OtherLibraryNeeded", [](Damaged& library) { library.Rename("liblog.so", "libbog.so"); },
     "FAULT needed, FAULT needed"},
    {"WritableRelocations",
     [](Damaged& library) { library.ForSegments(PT_GNU_RELRO, [](Elf64_Phdr& segment) { segment.p_type = PT_NULL; }); },
     "FAULT relocations"},
    {"LazyBinding",
     [](Damaged& library) {
       for (std::int64_t const tag : {DT_FLAGS, DT_FLAGS_1, DT_BIND_NOW}) {
         library.ForDynamic(tag, [](Elf64_Dyn& entry) { entry = {DT_DEBUG, {0}}; });
       }
     },
     "FAULT binding"},
    {"ExecutableStack",
     [](Damaged& library) { library.ForSegments(PT_GNU_STACK, [](Elf64_Phdr& segment) { segment.p_flags |= PF_X; }); },
     "FAULT stack"},
    {"NothingSaidOfTheStack",
     [](Damaged& library) { library.ForSegments(PT_GNU_STACK, [](Elf64_Phdr& segment) { segment.p_type = PT_NULL; }); },
     "FAULT stack"},
    {"WritableCode",
     [](Damaged& library) {
       library.ForSegments(PT_LOAD, [](Elf64_Phdr& segment) {
         if ((segment.p_flags & PF_X) != 0) segment.p_flags |= PF_W;
       });
     },
     "FAULT code"},
    {"SmallPages",
     [](Damaged& library) {
       library.ForSegments(PT_LOAD, [](Elf64_Phdr& segment) {
         if (segment.p_offset == 0) segment.p_align = 2048;
       });
     },
     "FAULT page size"},
    {"NoBuildId",
     [](Damaged& library) {
       library.ForRecords<Elf64_Nhdr>(SHT_NOTE, [](Elf64_Nhdr& note) {
         if (note.n_type == NT_GNU_BUILD_ID) note.n_type = 77;
       });
     },
     "FAULT build id"},
};

TEST(Doctor, TellsEachDamageAtTheRightPlace) {
  std::string shown;
  auto const before = DiagnoseBytes(Damaged().bytes);
  for (Damage const& damage : kDamages) {
    Damaged library;
    damage.apply(library);
    std::string checks;
    shown += std::string(damage.name) + "\n";
    for (std::string const& line : DiagnoseBytes(library.bytes)) {
      if (std::find(before.begin(), before.end(), line) != before.end()) continue;
      shown += "  " + line + "\n";
      checks += (checks.empty() ? "" : ", ") + line.substr(0, line.find(':'));
    }
    EXPECT_EQ(checks, damage.checks) << damage.name;
  }
  ExpectGolden(shown, "damaged-libraries.txt");
}

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
  std::string shown;
  for (char const* const file : {OTHER_LIBRARY, TAP}) {
    Outcome const outcome = RunTool(std::string("doctor --load --format json ") + file);
    EXPECT_EQ(outcome.exitCode, 1);
    int exports = 0;
    auto const json = nlohmann::json::parse(outcome.out);
    for (auto const& finding : json["findings"]) {
      std::string const check = finding["check"];
      for (char const* const none : {"name", "table", "needed", "load"}) EXPECT_NE(check, none);
      if (check != "exports") continue;
      ++exports;
      EXPECT_EQ(finding["verdict"], "FAULT");
      shown += finding["text"].get<std::string>() + "\n";
    }
    EXPECT_EQ(exports, 1);
  }
  ExpectGolden(shown, "other-libraries.txt");
}

// Of a phone's library, by the first instructions of its functions and by its imports: three of each are right.
TEST(Doctor, CountsPreparedFunctionsAndNamesFortifiedCalls) {
  ElfFile file = ReadElf(ReadFile(BUILT_LIBRARY), "library", kTableName);
  file.machine = EM_AARCH64;
  file.branchFeatures = 0;
  file.imports = {"__memcpy_chk",    "__snprintf_chk", "__x_chk",          "printf",          "printf_chk",
                  "_x_snprintf_chk", "__chk",          "__stack_chk_fail", "__snprintf_chk64"};
  std::vector<std::uint32_t> const instructions = {0xd503245f, 0xd503233f, 0xd503237f, 0xd503201f};  // the last: nop
  std::string shown;
  for (std::size_t const used : {3U, 4U}) {
    std::size_t functions = 0;
    for (ElfExport& offered : file.exports) {
      if (!offered.firstInstruction) continue;
      offered.firstInstruction = instructions[functions < used ? functions : 0];
      ++functions;
    }
    for (Finding const& finding : Diagnose(file, false)) {
      bool const isShown = finding.check == "branch protection" || finding.check == "fortified calls";
      if (isShown) shown += finding.check + ": " + finding.text + "\n";
      shown = Replaced(shown, std::to_string(functions), "N");
      shown = Replaced(shown, std::to_string(functions - 1), "(N - 1)");
    }
  }
  ExpectGolden(shown, "build-rules.txt");
}

TEST(Doctor, ForAPhoneADesktopsRunTimeIsAFault) {
  Damaged library;
  auto const faults = [&](bool isForPhone) {
    std::string told;
    for (std::string const& line : DiagnoseBytes(library.bytes, isForPhone)) {
      bool const isOfPhone = line.rfind("FAULT processor", 0) == 0 || line.rfind("FAULT needed: libc.so.6", 0) == 0;
      if (isOfPhone) told += line + "\n";
    }
    return told;
  };
  library.At<Elf64_Ehdr>(0)->e_machine = EM_X86_64;
  std::string const desktops = faults(true);
  library.At<Elf64_Ehdr>(0)->e_machine = EM_AARCH64;
  std::string const phones = faults(true);
  EXPECT_EQ(Lines(desktops).size(), 2U) << desktops;
  EXPECT_EQ(Lines(phones).size(), 1U) << phones;
  EXPECT_EQ(faults(false), "");
  ExpectGolden(desktops + phones, "for-a-phone.txt");
}

// What a hostile library does while it is loaded; a command that plays to it says the same.
TEST(Doctor, ALibraryThatHarmsItsHostIsAFault) {
  struct {
    char const* act;
    char const* told;
    char const* written;
  } const rows[] = {
#ifndef EMULATED  // the emulator reports the signal as well
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
    std::string const told = LineOf(outcome.out, "FAULT  load ");
    EXPECT_EQ(told.empty(), signal != 0) << outcome.out;
    if (signal == 0) ExpectGolden(told + "\n", "hanging-library.txt");
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
  ExpectGolden(LineOf(outcome.out, "ok     load ") + "\n", "built-library.txt");
  for (char const* const check : {"name ", "exports ", "table "}) {
    EXPECT_NE(LineOf(outcome.out, std::string("ok     ") + check), "") << outcome.out;
  }
  for (std::string const& line : Lines(outcome.out)) {
    bool const isSanitizer = line.find("san.so") != std::string::npos;
    EXPECT_TRUE(line.rfind("FAULT  needed ", 0) != 0 || isSanitizer) << line;
  }
}

#ifdef PHONE_LIBRARIES
// Relocations plain, packed in two ways, and bound to the library's own functions.
TEST(Doctor, ReadsTheTableOfEveryLinkersForm) {
  for (char const* const name : {"plain", "packed", "packed-relative", "symbolic", "relative"}) {
    std::string shown;
    for (std::string const& line : DiagnoseBytes(ReadFile(std::string(PHONE_LIBRARIES "/") + name + ".so"))) {
      for (char const* const check : {"processor", "table", "branch protection", "page size"}) {
        if (line.rfind(std::string("ok ") + check + ":", 0) == 0) shown += line + "\n";
      }
    }
    EXPECT_EQ(Lines(shown).size(), 4U) << name;
    ExpectGolden(shown, "phone-library.txt");
  }
}
#endif

}  // namespace
}  // namespace shadingctl
