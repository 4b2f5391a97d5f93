// A fit as text, CSV and JSON. docs/bench.md has the columns.
#pragma once

#include <string>

#include "tools/shadingctl/fit/LagFit.h"

namespace shadingctl {

constexpr char kFitSchema[] = "shadingctl-fit";
constexpr int kFitVersion = 1;

std::string FitText(ReferenceFit const& fit);
std::string FitCsv(ReferenceFit const& fit);

// The other two are the files' names.
std::string FitJson(ReferenceFit const& fit, std::string const& recording, std::string const& reference);

}  // namespace shadingctl
