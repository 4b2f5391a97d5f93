// Whether a shared object is a sound build of the shading library, judged from its file alone.
#pragma once

#include <string>
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

// Whether the file offers anything of the interface, and is no tap.
bool IsShadingLibrary(ElfFile const& file);

// One finding for every check at least; a check that finds several faults has a finding for each. Of a tap the build is
// judged alone, a file that is no shading library has no more than that said of it. For a phone, the run time has to be a
// phone's.
std::vector<Finding> Diagnose(ElfFile const& file, bool isForPhone = false);

bool IsSound(std::vector<Finding> const& findings);

// The findings about a library as JSON, and one line each. docs/porting.md describes both.
Json DiagnosisJson(std::string const& library, std::vector<Finding> const& findings);
std::string DiagnosisText(Json const& diagnosis);

}  // namespace shadingctl
