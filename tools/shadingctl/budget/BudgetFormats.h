// Budgets for people and for programs.
#pragma once

#include <string>
#include <vector>

#include "tools/shadingctl/budget/Budget.h"
#include "tools/shadingctl/output/Json.h"

namespace shadingctl {

// One budget in words, with its limits.
std::string BudgetText(Budget const& budget);

// One line for each.
std::string BudgetTable(std::vector<Budget> const& budgets);
std::string BudgetCsv(std::vector<Budget> const& budgets);

// Names and values only, which are numbers or null.
Json BudgetJson(Budget const& budget);

}  // namespace shadingctl
