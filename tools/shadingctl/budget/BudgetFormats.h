// Budgets for people and for programs.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tools/shadingctl/budget/Budget.h"

namespace shadingctl {

// One budget in words, with its limits.
std::string BudgetText(Budget const& budget);

// One line for each.
std::string BudgetTable(std::vector<Budget> const& budgets);
std::string BudgetCsv(std::vector<Budget> const& budgets);

// Names and values only, which are numbers or null.
nlohmann::ordered_json BudgetJson(Budget const& budget);

}  // namespace shadingctl
