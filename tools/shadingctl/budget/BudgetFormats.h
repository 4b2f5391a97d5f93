// Budgets for people and for programs.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "tools/shadingctl/budget/Budget.h"

namespace shadingctl {

// The document of `shadingctl budget`, from which the other formats are made: its member "budgets" has an object for
// each, with numbers and nulls only.
nlohmann::ordered_json BudgetsJson(std::vector<Budget> const& budgets);

std::string BudgetsCsv(nlohmann::ordered_json const& document);
std::string BudgetsTable(nlohmann::ordered_json const& document);

// One budget in words, with its limits. Requires: the document has one.
std::string BudgetText(nlohmann::ordered_json const& document);

}  // namespace shadingctl
