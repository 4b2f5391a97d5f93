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

void JudgeHardening(ElfFile const& file, Findings& findings) {
  bool const isSplit = std::none_of(file.loads.begin(), file.loads.end(), [](Elf64_Phdr const& segment) {
    return (segment.p_flags & PF_W) != 0 && (segment.p_flags & PF_X) != 0;
  });
  std::vector<std::string> fortified;
  std::copy_if(file.imports.begin(), file.imports.end(), std::back_inserter(fortified), IsFortified);
  findings.insert(
      findings.end(),
      {SoundIf(file.readOnlyLater.has_value(), "relocations", "read-only once applied", "stay writable"),
       SoundIf(file.bindsNow, "binding", "immediate", "expected every symbol to be bound at load, found lazy binding"),
       SoundIf(file.stack && (file.stack->p_flags & PF_X) == 0, "stack", "not executable",
               file.stack ? "executable" : "expected a file that says that it is not executable, found none"),
       SoundIf(isSplit && !file.relocatesCode, "code", "read-only", "the loader or the program can write into code"),
       SoundIf(IsOneOf("__stack_chk_fail", file.imports), "stack protector", "on",
               "expected calls of __stack_chk_fail, found none"),
       SoundIf(!fortified.empty(), "fortified calls", fmt::format("{}", fmt::join(fortified, ", ")),
               "expected calls like __vsnprintf_chk, found none")});
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

void JudgePageSize(ElfFile const& file, Findings& findings) {
  constexpr std::uint64_t kPageBytes = 16384;  // the largest pages of phones
  bool isSound = !file.loads.empty();
  if (!isSound) findings.push_back(Fault("page size", "nothing is loaded"));
  for (Elf64_Phdr const& segment : file.loads) {
    if (segment.p_align >= kPageBytes && (segment.p_vaddr - segment.p_offset) % kPageBytes == 0) continue;
    isSound = false;
    findings.push_back(Fault("page size", fmt::format("the segment at {:#x} is aligned to {}, expected {}",
                                                      segment.p_vaddr, segment.p_align, kPageBytes)));
  }
  if (isSound) findings.push_back(Sound("page size", "up to 16 KiB"));
}

}  // namespace

void JudgeBuild(ElfFile const& file, Findings& findings) {
  JudgeHardening(file, findings);
  findings.push_back(JudgeBranches(file));
  JudgePageSize(file, findings);
  findings.push_back(SoundIf(!file.buildId.empty(), "build id", file.buildId, "there is none"));
}

}  // namespace shadingctl
