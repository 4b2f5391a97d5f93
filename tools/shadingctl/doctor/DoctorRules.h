// The parts of a diagnosis.
#pragma once

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "tools/shadingctl/doctor/Diagnosis.h"

namespace shadingctl {

using Findings = std::vector<Finding>;

inline Finding Sound(char const* check, std::string text) { return {check, Judgement::kSound, std::move(text)}; }
inline Finding Fault(char const* check, std::string text) { return {check, Judgement::kFault, std::move(text)}; }

inline Finding SoundIf(bool isSound, char const* check, std::string whenSound, std::string whenNot) {
  return isSound ? Sound(check, std::move(whenSound)) : Fault(check, std::move(whenNot));
}

template <class Names>
bool IsOneOf(std::string const& name, Names const& names) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

// How the file was compiled and linked: hardening, branch protection, page size, build id.
Findings JudgeBuild(ElfFile const& file);

}  // namespace shadingctl
