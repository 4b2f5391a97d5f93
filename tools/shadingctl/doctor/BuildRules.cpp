#include <elf.h>
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <iterator>

#include "tools/shadingctl/doctor/Diagnosis.h"

namespace shadingctl {
namespace {

bool IsFortified(std::string const& name) {
  return name.size() > 6 && name.compare(0, 2, "__") == 0 && name.compare(name.size() - 4, 4, "_chk") == 0;
}

Elf64_Phdr const* FindSegment(ElfFile const& file, std::uint32_t type) {
  auto const isWanted = [=](Elf64_Phdr const& segment) { return segment.p_type == type; };
  auto const found = std::find_if(file.segments.rbegin(), file.segments.rend(), isWanted);
  return found == file.segments.rend() ? nullptr : &*found;
}

Findings JudgeHardening(ElfFile const& file) {
  bool const isSplit = std::none_of(file.segments.begin(), file.segments.end(), [](Elf64_Phdr const& segment) {
    return segment.p_type == PT_LOAD && (segment.p_flags & PF_W) != 0 && (segment.p_flags & PF_X) != 0;
  });
  std::vector<std::string> fortified;
  std::copy_if(file.imports.begin(), file.imports.end(), std::back_inserter(fortified), IsFortified);
  Elf64_Phdr const* const stack = FindSegment(file, PT_GNU_STACK);
  return {
      SoundIf(FindSegment(file, PT_GNU_RELRO) != nullptr, "relocations", "read-only once applied", "stay writable"),
      SoundIf(file.bindsNow, "binding", "immediate", "expected every symbol to be bound at load, found lazy binding"),
      SoundIf(stack != nullptr && (stack->p_flags & PF_X) == 0, "stack", "not executable",
              stack != nullptr ? "executable" : "expected a file that says that it is not executable, found none"),
      SoundIf(isSplit && !file.relocatesCode, "code", "read-only", "the loader or the program can write into code"),
      SoundIf(IsOneOf("__stack_chk_fail", file.imports), "stack protector", "on",
              "expected calls of __stack_chk_fail, found none"),
      SoundIf(!fortified.empty(), "fortified calls", fmt::format("{}", fmt::join(fortified, ", ")),
              "expected calls like __vsnprintf_chk, found none")};
}

// Whether a function may be the target of an indirect branch: endbr64; bti c, or the signing that implies it.
bool IsLandingPad(unsigned int machine, std::uint32_t instruction) {
  if (machine == EM_X86_64) return instruction == 0xfa1e0ff3;
  return instruction == 0xd503245f || instruction == 0xd503233f || instruction == 0xd503237f;
}

Finding JudgeBranches(ElfFile const& file) {
  constexpr char const* kCheck = "branch protection";
  bool const isArm = file.machine == EM_AARCH64;
  char const* const protection =
      isArm ? "branch targets and signed return addresses" : "branch targets and shadow stack";
  if ((file.branchFeatures & kBranchFeatures) == kBranchFeatures) return Sound(kCheck, protection);
  std::size_t functions = 0;
  std::size_t protectedOnes = 0;
  for (ElfExport const& offered : file.exports) {
    if (!offered.firstInstruction) continue;
    ++functions;
    if (IsLandingPad(file.machine, *offered.firstInstruction)) ++protectedOnes;
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
  Findings faults;
  for (Elf64_Phdr const& segment : file.segments) {
    bool const isAligned = segment.p_align >= kPageBytes && (segment.p_vaddr - segment.p_offset) % kPageBytes == 0;
    if (segment.p_type != PT_LOAD || isAligned) continue;
    faults.push_back(Fault("page size", fmt::format("the segment at {:#x} is aligned to {}, expected {}",
                                                    segment.p_vaddr, segment.p_align, kPageBytes)));
  }
  return OrSound(std::move(faults), "page size", "up to 16 KiB");
}

}  // namespace

Findings JudgeBuild(ElfFile const& file) {
  Findings findings = JudgeHardening(file);
  findings.push_back(JudgeBranches(file));
  Findings const pages = JudgePageSize(file);
  findings.insert(findings.end(), pages.begin(), pages.end());
  findings.push_back(SoundIf(!file.buildId.empty(), "build id", file.buildId, "there is none"));
  return findings;
}

}  // namespace shadingctl
