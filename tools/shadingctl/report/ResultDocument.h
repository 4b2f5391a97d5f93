// A JSON result as it was written, checked as far as pictures need it.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace shadingctl {

struct ResultDocument {
  enum class Kind { kReplay, kCalibration, kFit };

  std::string name;  // for titles and messages
  Kind kind = Kind::kReplay;
  nlohmann::ordered_json json;
};

// "replay", "calibration", "fit"
char const* Name(ResultDocument::Kind kind);

// Keys that are missing may be missing: what needs them is left out of a picture. Those that are there have the types
// that the result's page gives them. Throws UnusableInput: "FILE: PLACE: expected TEXT, found TEXT".
ResultDocument ParseResult(std::string const& name, std::string const& text);

// `path` may be "-".
ResultDocument ReadResultDocument(std::string const& path);

}  // namespace shadingctl
