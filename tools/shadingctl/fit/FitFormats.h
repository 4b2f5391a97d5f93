// A fit as text, CSV and JSON. docs/bench.md has the columns.
#pragma once

#include <string>

#include "tools/shadingctl/fit/BenchSession.h"
#include "tools/shadingctl/output/Json.h"

namespace shadingctl {

constexpr char kFitSchema[] = "shadingctl-fit";
constexpr int kFitVersion = 2;

// All that is told of the fit of a session; text and CSV show parts of it.
Json FitDocument(ReferenceFit const& fit, BenchSession const& session);

// A row for each quantity of each axis, as the CSV has them.
Json FitRows(Json const& document);

std::string FitText(Json const& document);

}  // namespace shadingctl
