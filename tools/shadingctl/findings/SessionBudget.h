// What a session's rates and times allow, in closed form.
#pragma once

#include "tools/shadingctl/budget/Budget.h"
#include "tools/shadingctl/findings/SessionFacts.h"

namespace shadingctl {

// The session as if its samples and frames came evenly, at their mean rates and median times.
struct SessionBudget {
  double hallIntervalUs = 0;
  double exposureUs = 0;
  double readoutUs = 0;
  double startBeforeTimestampUs = 0;  // the start of the readout, in the samples' own time
  Limits limits;
};

// nullopt where one of the rates or times is not known, or cannot be real.
std::optional<SessionBudget> BudgetOf(SessionFacts const& facts);

}  // namespace shadingctl
