// The findings about a library, one line each or as JSON. docs/porting.md describes both.
#pragma once

#include <string>
#include <vector>

#include "tools/shadingctl/doctor/Diagnosis.h"
#include "tools/shadingctl/output/OutputFile.h"

namespace shadingctl {

bool IsSound(std::vector<Finding> const& findings);

void WriteDiagnosisTable(OutputFile& output, std::vector<Finding> const& findings);
void WriteDiagnosisJson(OutputFile& output, std::string const& library, std::vector<Finding> const& findings);

}  // namespace shadingctl
