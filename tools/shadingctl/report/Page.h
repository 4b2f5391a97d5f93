// A report: one page that needs nothing but a browser.
#pragma once

#include <string>
#include <vector>

#include "tools/shadingctl/report/ResultDocument.h"

namespace shadingctl {

// Of one result, or of two replays that are drawn over each other. Throws UnusableInput for another pair.
std::string MakePage(std::vector<ResultDocument> const& documents);

}  // namespace shadingctl
