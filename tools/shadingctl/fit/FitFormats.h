// A fit as text, CSV and JSON. docs/bench.md has the columns.
#pragma once

#include <cstddef>
#include <nlohmann/json_fwd.hpp>
#include <string>

#include "tools/shadingctl/fit/LagFit.h"

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
nlohmann::ordered_json FitDocument(ReferenceFit const& fit, FitSource const& source);

std::string FitText(nlohmann::ordered_json const& document);
std::string FitCsv(nlohmann::ordered_json const& document);
std::string FitJson(nlohmann::ordered_json document);

}  // namespace shadingctl
