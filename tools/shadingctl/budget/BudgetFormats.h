// Budgets for people and for programs.
#pragma once

#include <string>
#include <vector>

#include "tools/shadingctl/budget/Budget.h"
#include "tools/shadingctl/output/Json.h"

namespace shadingctl {

// The document of `shadingctl budget`, from which the other formats are made: its member "budgets" has an object for
// each, with numbers and nulls only. They are the rows of CSV.
Json BudgetsJson(std::vector<Budget> const& budgets);

std::string BudgetsTable(Json const& document);

// One budget in words, with its limits. Requires: the document has one.
std::string BudgetText(Json const& document);

}  // namespace shadingctl
