#include "tools/shadingctl/commands/Suggestion.h"

#include <algorithm>

namespace shadingctl {
namespace {

// Edit distance with swaps of neighbours.
std::size_t Distance(std::string const& one, std::string const& other) {
  std::vector<std::vector<std::size_t>> steps(one.size() + 1, std::vector<std::size_t>(other.size() + 1));
  for (std::size_t i = 0; i <= one.size(); ++i) {
    for (std::size_t j = 0; j <= other.size(); ++j) {
      if (i == 0 || j == 0) {
        steps[i][j] = i + j;
        continue;
      }
      std::size_t const change = one[i - 1] == other[j - 1] ? 0 : 1;
      steps[i][j] = std::min({steps[i - 1][j] + 1, steps[i][j - 1] + 1, steps[i - 1][j - 1] + change});
      bool const isSwap = i > 1 && j > 1 && one[i - 1] == other[j - 2] && one[i - 2] == other[j - 1];
      if (isSwap) steps[i][j] = std::min(steps[i][j], steps[i - 2][j - 2] + 1);
    }
  }
  return steps[one.size()][other.size()];
}

}  // namespace

std::optional<std::string> Suggest(std::string const& mistyped, std::vector<std::string> const& candidates) {
  std::optional<std::string> nearest;
  std::size_t least = 0;
  for (std::string const& candidate : candidates) {
    std::size_t const distance = Distance(mistyped, candidate);
    if (3 * distance > candidate.size() || (nearest && distance >= least)) continue;
    nearest = candidate;
    least = distance;
  }
  return nearest;
}

}  // namespace shadingctl
