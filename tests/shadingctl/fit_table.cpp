// Prints how often fits of sessions with a known truth find it, as a table for docs/bench.md.
//
// usage: fit_table FIRST_SEED LAST_SEED
#include <cstdio>
#include <cstdlib>
#include <string>

#include "tests/shadingctl/BenchWorld.h"

namespace {

std::string CountsOf(std::map<std::string, int> const& counts) {
  std::string text;
  for (auto const& [name, count] : counts)
    text += (text.empty() ? "" : ", ") + (name.empty() ? "none" : name) + " " + std::to_string(count);
  return text;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) return 2;
  auto const first = static_cast<unsigned>(std::atoi(argv[1]));
  auto const last = static_cast<unsigned>(std::atoi(argv[2]));
  for (auto const& truth : shadingctl::BenchKinds()) {
    if (argc > 3 && truth.name.find(argv[3]) == std::string::npos) continue;
    auto const score = shadingctl::ScoreBench(truth, first, last);
    std::printf("%-32s %6.0f |", truth.name.c_str(), score.lagHalfUs);
    for (char const* q : {"lag", "slope", "intercept", "gain", "cross-talk", "curve", "trend", "bend", "drift"}) {
      auto const x = score.held.find(std::string("x ") + q), y = score.held.find(std::string("y ") + q);
      if (x == score.held.end())
        std::printf("  -/-  ");
      else
        std::printf(" %2d/%2d ", x->second, y->second);
    }
    std::printf("| %s | %s | %s\n", CountsOf(score.verdicts).c_str(), CountsOf(score.diagnoses).c_str(),
                CountsOf(score.follows).c_str());
    std::fflush(stdout);
  }
}
