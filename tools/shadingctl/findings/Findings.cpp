#include "tools/shadingctl/findings/Findings.h"

#include "tools/shadingctl/findings/Rules.h"

namespace shadingctl {

std::vector<SessionFinding> FindingsOf(SessionFacts const& facts) {
  // What makes everything else meaningless comes first, then what costs positions, then what to know about them.
  static constexpr rules::Rule* kRules[] = {
      rules::WrongUnits, rules::CameraOff,    rules::NotTold,       rules::ClockOffset,  rules::ClockJump,
      rules::History,    rules::Sampling,     rules::ReachBackward, rules::ReachForward, rules::NotDelivered,
      rules::Carried,    rules::LongExposure, rules::Repeated,      rules::Batches,      rules::Discarded,
      rules::Gaps,       rules::Still,        rules::EndStop,       rules::Steps,        rules::ModeSwitch};
  std::vector<SessionFinding> findings;
  for (rules::Rule* const rule : kRules) {
    if (auto finding = rule(facts)) findings.push_back(std::move(*finding));
    if (rule == &rules::WrongUnits && !findings.empty()) return findings;
  }
  return findings;
}

}  // namespace shadingctl
