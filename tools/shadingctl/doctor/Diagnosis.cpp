#include "tools/shadingctl/doctor/Diagnosis.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <iterator>
#include <optional>
#include <set>

#include "tools/shadingctl/doctor/ShadingInterface.h"

namespace shadingctl {
namespace {

using Findings = std::vector<Finding>;
using Names = std::vector<std::string>;

Finding Sound(char const* check, std::string text) { return {check, Judgement::kSound, std::move(text)}; }
Finding Fault(char const* check, std::string text) { return {check, Judgement::kFault, std::move(text)}; }

Finding SoundIf(bool isSound, char const* check, std::string whenSound, std::string whenNot) {
  return isSound ? Sound(check, std::move(whenSound)) : Fault(check, std::move(whenNot));
}

template <class Names>
bool IsOneOf(std::string const& name, Names const& names) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

Finding JudgeProcessor(ElfFile const& file, bool isForPhone) {
  char const* standardLibrary = "an unknown standard library";
  for (ElfExport const& offered : file.exports) {
    if (offered.name.find("St6vector") != std::string::npos) standardLibrary = "libstdc++";
    if (offered.name.find("St3__1") != std::string::npos || offered.name.find("St6__ndk1") != std::string::npos) {
      standardLibrary = "libc++";
    }
  }
  bool const isArm = file.processor == Processor::kAArch64;
  if (isForPhone && !isArm) return Fault("processor", "expected AArch64, found x86-64");
  return Sound("processor", fmt::format("{}, with {}", isArm ? "AArch64" : "x86-64", standardLibrary));
}

Finding JudgeName(ElfFile const& file) {
  return SoundIf(file.soname == kLibraryName, "name", file.soname,
                 fmt::format("expected {}, found {}", kLibraryName, file.soname.empty() ? "none" : file.soname));
}

// Sizes of the objects that a host reads and writes itself.
std::optional<std::uint64_t> BytesOf(std::string const& name) {
  if (name == "gLogLevel" || name == "g_oisDebug" || name == "g_preOisDump" || name == "g_capOisDump") return 4;
  if (name == "VeyraShadingUtil::mSingleInstance") return 8;
  if (name == "vtable for VeyraShadingUtil") return kTableHeadBytes + 8 * kTableEntries.size();
  return std::nullopt;
}

// Sorted.
Names ExpectedExports() {
  Names expected(kFurtherExports.begin(), kFurtherExports.end());
  std::copy_if(kTableEntries.begin(), kTableEntries.end(), std::back_inserter(expected),
               [](char const* entry) { return *entry != '\0'; });
  std::sort(expected.begin(), expected.end());
  return expected;
}

// The content of a table entry after loading.
std::string EntryText(ElfFile const& file, ElfPointer const& pointer) {
  if (!pointer.symbol.empty()) return ReadableName(pointer.symbol);
  auto const offered = std::find_if(file.exports.begin(), file.exports.end(), [&](ElfExport const& candidate) {
    return candidate.address == pointer.address && candidate.firstInstruction;
  });
  return offered == file.exports.end() ? std::string() : ReadableName(offered->name);
}

ElfExport const* FindTable(ElfFile const& file) {
  auto const table = std::find_if(file.exports.begin(), file.exports.end(),
                                  [](ElfExport const& offered) { return offered.name == kTableName; });
  return table == file.exports.end() ? nullptr : &*table;
}

// The entries that the table has, or should have; empty texts for functions without a name, nullopt for no function.
std::vector<std::optional<std::string>> EntriesOf(ElfFile const& file, ElfExport const& table) {
  std::uint64_t const bytes = std::min(table.bytes, kMaximumTableBytes);
  std::uint64_t const found = bytes > kTableHeadBytes ? (bytes - kTableHeadBytes) / 8 : 0;
  std::vector<std::optional<std::string>> entries(std::max<std::uint64_t>(found, kTableEntries.size()));
  for (std::size_t i = 0; i < entries.size(); ++i) {
    auto const pointer = file.table.find(table.address + kTableHeadBytes + 8 * i);
    if (pointer != file.table.end()) entries[i] = EntryText(file, pointer->second);
  }
  return entries;
}

// Of the operations that a later version of the interface has appended to the table.
Names AppendedOperations(ElfFile const& file) {
  Names appended;
  if (ElfExport const* const table = FindTable(file)) {
    auto const entries = EntriesOf(file, *table);
    for (std::size_t i = kTableEntries.size(); i < entries.size(); ++i) appended.push_back(entries[i].value_or(""));
  }
  return appended;
}

// A table may be longer by whole entries.
bool HasSize(ElfExport const& offered, std::uint64_t expected) {
  bool const isTable = offered.name == kTableName;
  return offered.bytes == expected || (isTable && offered.bytes > expected && (offered.bytes - expected) % 8 == 0);
}

Findings JudgeExports(ElfFile const& file) {
  Names const expected = ExpectedExports();
  Names const appended = AppendedOperations(file);
  Findings findings;
  Names found;
  for (ElfExport const& offered : file.exports) {
    std::string name = ReadableName(offered.name);
    auto const bytes = BytesOf(name);
    if (bytes && !HasSize(offered, *bytes)) {
      findings.push_back(Fault("exports", fmt::format("{}: expected {} bytes, found {}", name, *bytes, offered.bytes)));
    }
    if (!IsOneOf(name, appended) || IsOneOf(name, expected)) found.push_back(std::move(name));
  }
  std::sort(found.begin(), found.end());
  Names missing, further;
  std::set_difference(expected.begin(), expected.end(), found.begin(), found.end(), std::back_inserter(missing));
  std::set_difference(found.begin(), found.end(), expected.begin(), expected.end(), std::back_inserter(further));
  for (std::string const& name : missing) findings.push_back(Fault("exports", name + " is missing"));
  for (std::string const& name : further) findings.push_back(Fault("exports", name + " is no part of the interface"));
  if (findings.empty()) {
    findings.push_back(Sound("exports", fmt::format("all {} names and no others", expected.size())));
  }
  return findings;
}

Findings JudgeTable(ElfFile const& file) {
  ElfExport const* const table = FindTable(file);
  if (table == nullptr) return {Fault("table", "there is none")};
  Findings findings;
  auto const entries = EntriesOf(file, *table);
  for (std::size_t i = 0; i < entries.size(); ++i) {
    bool const isAppended = i >= kTableEntries.size();
    std::string const expected = isAppended ? "an operation" : kTableEntries[i];
    std::string const found = entries[i].value_or("nothing");
    std::string const shown = found.empty() ? "a function of the library's own" : found;
    if (isAppended && entries[i]) {
      findings.push_back({"table", Judgement::kNote, fmt::format("entry {} is of a later interface: {}", i, shown)});
    } else if (found != expected) {
      findings.push_back(Fault("table", fmt::format("entry {}: expected {}, found {}", i,
                                                    expected.empty() ? "a destructor" : expected, shown)));
    }
  }
  if (findings.empty()) {
    findings.push_back(Sound("table", fmt::format("{} entries in their order", kTableEntries.size())));
  }
  return findings;
}

Findings JudgeNeeded(ElfFile const& file, bool isForPhone) {
  Findings findings;
  for (char const* const library : kPlatformLibraries) {
    if (!IsOneOf(library, file.needed)) {
      findings.push_back(Fault("needed", fmt::format("{} is missing", library)));
    }
  }
  for (std::string const& library : file.needed) {
    if (IsOneOf(library, kDeskRunTime)) {
      if (isForPhone) findings.push_back(Fault("needed", library + " is of a desktop's run time: no phone has it"));
    } else if (!IsOneOf(library, kPlatformLibraries) && !IsOneOf(library, kPhoneRunTime)) {
      findings.push_back(Fault("needed", library + " is neither the platform's nor part of the run time"));
    }
  }
  if (findings.empty()) findings.push_back(Sound("needed", fmt::format("{}", fmt::join(file.needed, ", "))));
  return findings;
}

bool IsFortified(std::string const& name) {
  return name.size() > 6 && name.compare(0, 2, "__") == 0 && name.compare(name.size() - 4, 4, "_chk") == 0;
}

Findings JudgeHardening(ElfFile const& file) {
  bool const isSplit = std::none_of(file.loads.begin(), file.loads.end(),
                                    [](ElfSegment const& segment) { return segment.writable && segment.executable; });
  Names fortified;
  std::copy_if(file.imports.begin(), file.imports.end(), std::back_inserter(fortified), IsFortified);
  return {
      SoundIf(file.readOnlyLater.has_value(), "relocations", "read-only once applied", "stay writable"),
      SoundIf(file.bindsNow, "binding", "immediate", "expected every symbol to be bound at load, found lazy binding"),
      SoundIf(file.stack && !file.stack->executable, "stack", "not executable",
              file.stack ? "executable" : "expected a file that says that it is not executable, found none"),
      SoundIf(isSplit && !file.relocatesCode, "code", "read-only", "the loader or the program can write into code"),
      SoundIf(IsOneOf("__stack_chk_fail", file.imports), "stack protector", "on",
              "expected calls of __stack_chk_fail, found none"),
      SoundIf(!fortified.empty(), "fortified calls", fmt::format("{}", fmt::join(fortified, ", ")),
              "expected calls like __vsnprintf_chk, found none"),
  };
}

// Whether a function may be the target of an indirect branch: endbr64; bti c, or the signing that implies it.
bool IsLandingPad(Processor processor, std::uint32_t instruction) {
  if (processor == Processor::kX86_64) return instruction == 0xfa1e0ff3;
  return instruction == 0xd503245f || instruction == 0xd503233f || instruction == 0xd503237f;
}

Finding JudgeBranches(ElfFile const& file) {
  constexpr char const* kCheck = "branch protection";
  bool const isArm = file.processor == Processor::kAArch64;
  char const* const protection =
      isArm ? "branch targets and signed return addresses" : "branch targets and shadow stack";
  if ((file.branchFeatures & kBranchFeatures) == kBranchFeatures) return Sound(kCheck, protection);
  std::size_t functions = 0;
  std::size_t protectedOnes = 0;
  for (ElfExport const& offered : file.exports) {
    if (!offered.firstInstruction) continue;
    ++functions;
    if (IsLandingPad(file.processor, *offered.firstInstruction)) ++protectedOnes;
  }
  if (functions == 0 || protectedOnes < functions) {
    return Fault(kCheck,
                 fmt::format("expected {}, found {} of {} functions prepared", protection, protectedOnes, functions));
  }
  return {kCheck, Judgement::kNote,
          fmt::format("all {} functions are prepared, but the file is not marked for {}: start files without it take "
                      "the mark away",
                      functions, protection)};
}

Findings JudgePageSize(ElfFile const& file) {
  constexpr std::uint64_t kPageBytes = 16384;  // the largest pages of phones
  Findings findings;
  for (ElfSegment const& segment : file.loads) {
    if (segment.alignment < kPageBytes || (segment.address - segment.fileOffset) % kPageBytes != 0) {
      findings.push_back(Fault("page size", fmt::format("the segment at {:#x} is aligned to {}, expected {}",
                                                        segment.address, segment.alignment, kPageBytes)));
    }
  }
  if (file.loads.empty()) findings.push_back(Fault("page size", "nothing is loaded"));
  if (findings.empty()) findings.push_back(Sound("page size", "up to 16 KiB"));
  return findings;
}

// A tap is linked with the library in whose place it stands.
bool IsTap(ElfFile const& file) { return IsOneOf(file.soname + ".real", file.needed); }

}  // namespace

bool IsShadingLibrary(ElfFile const& file) {
  Names const expected = ExpectedExports();
  return !IsTap(file) && std::any_of(file.exports.begin(), file.exports.end(), [&](ElfExport const& offered) {
    return std::binary_search(expected.begin(), expected.end(), ReadableName(offered.name));
  });
}

std::vector<Finding> Diagnose(ElfFile const& file, bool isForPhone) {
  Findings findings = {JudgeProcessor(file, isForPhone)};
  if (IsTap(file)) {
    findings.push_back(Fault("exports", fmt::format("this is a tap; the library is {}.real", file.soname)));
    return findings;
  }
  if (!IsShadingLibrary(file)) {
    findings.push_back(
        Fault("exports", fmt::format("none of the {} names: this is no shading library", ExpectedExports().size())));
    return findings;
  }
  for (Findings const& further : {{JudgeName(file)},
                                  JudgeExports(file),
                                  JudgeTable(file),
                                  JudgeNeeded(file, isForPhone),
                                  JudgeHardening(file),
                                  {JudgeBranches(file)},
                                  JudgePageSize(file),
                                  {SoundIf(!file.buildId.empty(), "build id", file.buildId, "there is none")}}) {
    findings.insert(findings.end(), further.begin(), further.end());
  }
  return findings;
}

}  // namespace shadingctl
