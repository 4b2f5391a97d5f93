// Problems of a session and their remedies: one rule for each finding, all in this folder (Rules.h).
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tools/shadingctl/findings/SessionFacts.h"

namespace shadingctl {

struct SessionFinding {
  std::string code;
  std::string text;  // what happened, one sentence
  std::string advice;
  std::vector<std::pair<std::string, double>> figures;
  FrameList frames;
};

// In the order in which they should be looked at; empty for a healthy session. docs/answers.md lists the rules.
std::vector<SessionFinding> FindingsOf(SessionFacts const& facts);

}  // namespace shadingctl
