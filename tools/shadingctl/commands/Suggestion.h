// "Did you mean": the name that somebody who mistyped one had in mind.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace shadingctl {

// The candidate with the fewest letters that differ, are too many, missing, or changed places; none when even that one
// differs in more than a third of its letters.
std::optional<std::string> Suggest(std::string const& mistyped, std::vector<std::string> const& candidates);

}  // namespace shadingctl
