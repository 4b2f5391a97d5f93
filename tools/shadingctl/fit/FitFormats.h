// A fit as text, CSV and JSON. docs/bench.md has the columns.
#pragma once

#include <cstddef>
#include <string>

#include "tools/shadingctl/fit/LagFit.h"
#include "tools/shadingctl/output/Json.h"

namespace shadingctl {

constexpr char kFitSchema[] = "shadingctl-fit";
constexpr int kFitVersion = 2;

struct FitSource {
  std::string recording;  // the files' names
  std::string reference;
  std::size_t unknown = 0;  // frames of the reference that the recording does not have
  std::size_t skipped = 0;  // rows that could not be read
};

// All that is told of a fit; text and CSV show parts of it.
Json FitDocument(ReferenceFit const& fit, FitSource const& source);

std::string FitText(Json const& document);
std::string FitCsv(Json const& document);
std::string FitJson(Json document);

}  // namespace shadingctl
