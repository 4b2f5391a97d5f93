// Problems of a session and their remedies: one rule for each finding, all in this folder (Rules.h).
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tools/shadingctl/findings/SessionFacts.h"

namespace shadingctl {

enum class Severity {
  kWrong,  // positions are not where the lens was
  kLost,   // frames without a position of their own
  kNote,   // true, and costs nothing here
};
char const* Name(Severity severity);

struct SessionFinding {
  std::string text = {};  // what happened, one sentence
  std::string advice = {};
  std::vector<std::pair<std::string, double>> figures = {};
  FrameList frames = {};
  std::vector<Interval> intervals = {};             // where empty, those of the frames
  std::optional<Severity> severity = std::nullopt;  // that of the table where the rule says nothing
  std::string_view code = {};                       // set by FindingsOf, as is the next
  std::string_view explainedBy = {};  // code of the finding that this one follows from; it needs no advice of its own
};

// By severity, and within it in the order of the table; empty for a healthy session. `others` are the session's other
// cameras.
std::vector<SessionFinding> FindingsOf(SessionFacts const& facts, std::vector<SessionFacts const*> const& others = {});

// The frames that it costs: its own; where it has none but is wrong, those of its stretches of time, dropped ones
// included, or all where it has no stretch either.
std::uint64_t CostOf(SessionFinding const& finding, SessionFacts const& facts);

// "3, 4, 5, 6, 7, ...": the first ones.
std::string NumbersText(FrameList const& frames);

// " [frames 3, 4; from 0.100 s to 2.000 s, the first of 3]", or nothing for what the whole session shows.
std::string PlaceText(SessionFinding const& finding, SessionFacts const& facts);

// What a finding needs to be told, besides samples and frames.
enum class Needs { kNothing, kMessages, kCallTimes };

// One row for each finding: its name, the gravest severity that it has, and its figures.
struct FindingKind {
  std::string_view code;
  Severity severity;
  Needs needs;
  std::string_view figures;
  std::optional<SessionFinding> (*rule)(SessionFacts const& facts);  // null: told of two cameras
};
std::vector<FindingKind> const& FindingKinds();

}  // namespace shadingctl
