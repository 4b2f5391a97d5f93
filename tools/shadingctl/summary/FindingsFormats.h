// The findings of a session as text and as JSON. docs/answers.md describes both.
#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>

#include "tools/shadingctl/findings/Findings.h"

namespace shadingctl {

// A paragraph for each finding, or one line where there is none.
std::string FindingsText(SessionFacts const& facts);

// A list, empty where there is no finding.
nlohmann::ordered_json FindingsJson(SessionFacts const& facts, std::int32_t camera);

}  // namespace shadingctl
