// Whether a shared object is a sound build of the shading library, judged by what the file says.
#pragma once

#include <string>
#include <vector>

#include "tools/shadingctl/doctor/ElfFile.h"

namespace shadingctl {

enum class Judgement {
  kSound,
  kNote,   // nothing that a host suffers from
  kFault,  // the library must not be installed as it is
};

struct Finding {
  std::string check;
  Judgement judgement = Judgement::kSound;
  std::string text;
};

// One finding for every check at least; a check that finds several faults has a finding for each.
std::vector<Finding> Diagnose(ElfFile const& file);

}  // namespace shadingctl
