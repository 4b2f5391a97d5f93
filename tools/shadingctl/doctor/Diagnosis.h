// Whether a shared object is a sound build of the shading library, judged from its file alone.
#pragma once

#include <string>
#include <vector>

#include "tools/shadingctl/doctor/ElfFile.h"

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

// One finding for every check at least; a check that finds several faults has a finding for each.
std::vector<Finding> Diagnose(ElfFile const& file);

}  // namespace shadingctl
