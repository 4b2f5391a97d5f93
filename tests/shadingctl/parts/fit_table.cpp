// Prints as a table for docs/measurements.md how often fits of sessions with a known truth find it.
//
// usage: fit_table FIRST_SEED LAST_SEED [PART_OF_A_KINDS_NAME]
#include <cstdio>
#include <cstdlib>
#include <string>

#include "tests/shadingctl/parts/BenchWorld.h"

namespace {

std::string CountsOf(std::map<std::string, int> const& counts) {
  std::string text;
  for (auto const& [name, count] : counts) {
    text += (text.empty() ? "" : ", ") + (name.empty() ? "none" : name) + " " + std::to_string(count);
  }
  return text.empty() ? "-" : text;
}

void PrintKind(shadingctl::BenchTruth const& truth, unsigned firstSeed, unsigned lastSeed) {
  auto const score = shadingctl::ScoreBench(truth, firstSeed, lastSeed);
  std::string row = "| " + truth.name + " |";
  for (char const* const quantity : shadingctl::kBenchQuantities) {
    auto const x = score.held.find(std::string("x ") + quantity);
    auto const y = score.held.find(std::string("y ") + quantity);
    row += x == score.held.end() ? " - |" : " " + std::to_string(x->second) + "/" + std::to_string(y->second) + " |";
  }
  std::printf("%s %s | %s | %s |\n", row.c_str(), CountsOf(score.verdicts).c_str(), CountsOf(score.diagnoses).c_str(),
              CountsOf(score.follows).c_str());
  std::fflush(stdout);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3 || argc > 4) {
    std::fprintf(stderr, "usage: fit_table FIRST_SEED LAST_SEED [PART_OF_A_KINDS_NAME]\n");
    return 2;
  }
  std::printf("| session |");
  for (char const* const quantity : shadingctl::kBenchQuantities) std::printf(" %s |", quantity);
  std::printf(" verdict | diagnosis | lag follows |\n|---|");
  for (char const* const quantity : shadingctl::kBenchQuantities) std::printf("%s", *quantity != '\0' ? "---|" : "");
  std::printf("---|---|---|\n");
  for (auto const& truth : shadingctl::BenchKinds()) {
    bool const isWanted = argc < 4 || truth.name.find(argv[3]) != std::string::npos;
    if (isWanted)
      PrintKind(truth, static_cast<unsigned>(std::atoi(argv[1])), static_cast<unsigned>(std::atoi(argv[2])));
  }
}
