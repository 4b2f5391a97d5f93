// A fit as text, CSV and JSON. docs/bench.md has the columns.
#pragma once

#include <string>

#include "tools/shadingctl/fit/LagFit.h"

namespace shadingctl {

std::string FitText(ReferenceFit const& fit);
std::string FitCsv(ReferenceFit const& fit);
std::string FitJson(ReferenceFit const& fit);

}  // namespace shadingctl
