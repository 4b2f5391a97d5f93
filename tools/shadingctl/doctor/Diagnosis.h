// Whether a shared object is a sound build of the shading library, judged from its file alone.
#pragma once

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "tools/shadingctl/doctor/ElfFile.h"
#include "tools/shadingctl/output/Json.h"

namespace shadingctl {

enum class Judgement {
  kSound,
  kNote,   // does no harm to a host
  kFault,  // the library must not be installed as it is
};

struct Finding {
  std::string check;
  Judgement judgement = Judgement::kSound;
  std::string text;
};

using Findings = std::vector<Finding>;

inline Finding Sound(char const* check, std::string text) { return {check, Judgement::kSound, std::move(text)}; }
inline Finding Fault(char const* check, std::string text) { return {check, Judgement::kFault, std::move(text)}; }
inline Finding SoundIf(bool isSound, char const* check, std::string whenSound, std::string whenNot) {
  return isSound ? Sound(check, std::move(whenSound)) : Fault(check, std::move(whenNot));
}

// The faults of a check; where there are none, that it is sound.
inline Findings OrSound(Findings faults, char const* check, std::string text) {
  return faults.empty() ? Findings{Sound(check, std::move(text))} : faults;
}

template <class Names>
bool IsOneOf(std::string const& name, Names const& names) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

// Whether the file offers anything of the interface, and is no tap.
bool IsShadingLibrary(ElfFile const& file);

// One finding for every check at least; a check that finds several faults has a finding for each. Of a tap the build is
// judged alone, a file that is no shading library has no more than that said of it. For a phone, the run time has to be
// a phone's.
Findings Diagnose(ElfFile const& file, bool isForPhone = false);

// How the file was compiled and linked: hardening, branch protection, page size, build id.
Findings JudgeBuild(ElfFile const& file);

bool IsSound(Findings const& findings);

// The findings about a library as JSON, and one line each. docs/porting.md describes both.
Json DiagnosisJson(std::string const& library, Findings const& findings);
std::string DiagnosisText(Json const& diagnosis);

}  // namespace shadingctl
