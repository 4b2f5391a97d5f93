#include "tools/shadingctl/doctor/Diagnosis.h"

#include <cxxabi.h>
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <cstdlib>
#include <iterator>
#include <memory>
#include <regex>

#include "hosting/ElfImage.h"
#include "hosting/QuotedText.h"
#include "tools/shadingctl/doctor/ShadingInterface.h"

namespace shadingctl {
namespace {

using Names = std::vector<std::string>;

// Demangles a name into a form that is the same for every standard library: without inline namespaces and without the
// default allocators of vectors.
std::string ReadableName(std::string const& mangled) {
  constexpr std::size_t kLongest = 256;  // beyond any name of the interface
  if (mangled.size() > kLongest) return mangled;
  int status = 0;
  std::unique_ptr<char, void (*)(void*)> const demangled(
      abi::__cxa_demangle(mangled.c_str(), nullptr, nullptr, &status), std::free);
  if (status != 0) return mangled;
  static std::regex const kInlineNamespace("std::__[A-Za-z0-9_]+::");
  static std::regex const kAllocator(", std::allocator<[A-Za-z0-9_:]+ ?> ?>");
  std::string const name = std::regex_replace(std::string(demangled.get()), kInlineNamespace, "std::");
  return std::regex_replace(name, kAllocator, ">");
}

Finding JudgeProcessor(ElfFile const& file, bool isForPhone) {
  char const* standardLibrary = "an unknown standard library";
  for (ElfExport const& offered : file.exports) {
    if (offered.name.find("St6vector") != std::string::npos) standardLibrary = "libstdc++";
    if (offered.name.find("St3__1") != std::string::npos || offered.name.find("St6__ndk1") != std::string::npos) {
      standardLibrary = "libc++";
    }
  }
  std::string const found = hosting::ProcessorName(file.machine);
  if (isForPhone && file.machine != EM_AARCH64) return Fault("processor", "expected AArch64, found " + found);
  return Sound("processor", fmt::format("{}, with {}", found, standardLibrary));
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
  if (ElfExport const* const table = file.Find(kTableName)) {
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
  return OrSound(std::move(findings), "exports", fmt::format("all {} names and no others", expected.size()));
}

Findings JudgeTable(ElfFile const& file) {
  ElfExport const* const table = file.Find(kTableName);
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
  return OrSound(std::move(findings), "table", fmt::format("{} entries in their order", kTableEntries.size()));
}

Findings JudgeNeeded(ElfFile const& file, bool isForPhone) {
  Findings findings;
  for (char const* const library : kPlatformLibraries) {
    if (!IsOneOf(library, file.needed)) findings.push_back(Fault("needed", std::string(library) + " is missing"));
  }
  for (std::string const& library : file.needed) {
    if (IsOneOf(library, kDeskRunTime)) {
      if (isForPhone) findings.push_back(Fault("needed", library + " is of a desktop's run time: no phone has it"));
    } else if (!IsOneOf(library, kPlatformLibraries) && !IsOneOf(library, kPhoneRunTime)) {
      findings.push_back(Fault("needed", library + " is neither the platform's nor part of the run time"));
    }
  }
  return OrSound(std::move(findings), "needed", fmt::format("{}", fmt::join(file.needed, ", ")));
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

Findings Diagnose(ElfFile const& file, bool isForPhone) {
  Findings findings = {JudgeProcessor(file, isForPhone)};
  auto const append = [&](Findings const& further) { findings.insert(findings.end(), further.begin(), further.end()); };
  if (IsTap(file)) {
    findings.push_back(Fault("exports", fmt::format("this is a tap; the library is {}.real", file.soname)));
  } else if (IsShadingLibrary(file)) {
    findings.push_back(
        SoundIf(file.soname == kLibraryName, "name", file.soname,
                fmt::format("expected {}, found {}", kLibraryName, file.soname.empty() ? "none" : file.soname)));
    append(JudgeExports(file));
    append(JudgeTable(file));
    append(JudgeNeeded(file, isForPhone));
  } else {
    findings.push_back(
        Fault("exports", fmt::format("none of the {} names: this is no shading library", ExpectedExports().size())));
    return findings;
  }
  append(JudgeBuild(file));
  return findings;
}

bool IsSound(Findings const& findings) {
  return std::none_of(findings.begin(), findings.end(),
                      [](Finding const& finding) { return finding.judgement == Judgement::kFault; });
}

Json DiagnosisJson(std::string const& library, Findings const& findings) {
  constexpr char const* kVerdicts[] = {"ok", "note", "FAULT"};  // in the order of Judgement
  Json json = {{"schema", "shadingctl-doctor"},
               {"version", 1},
               {"library", library},
               {"sound", IsSound(findings)},
               {"findings", Json::array()}};
  for (Finding const& finding : findings) {
    json["findings"].push_back({{"check", finding.check},
                                {"verdict", kVerdicts[static_cast<std::size_t>(finding.judgement)]},
                                {"text", finding.text}});
  }
  return json;
}

std::string DiagnosisText(Json const& diagnosis) {
  std::string text;
  for (auto const& finding : diagnosis["findings"]) {
    auto const escaped = [&](char const* key) { return hosting::Escaped(finding[key].get_ref<std::string const&>()); };
    text += fmt::format("{:<5}  {:<17}  {}\n", escaped("verdict"), escaped("check"), escaped("text"));
  }
  return text;
}

}  // namespace shadingctl
