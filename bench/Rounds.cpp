#include "bench/Rounds.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <utility>

namespace bench {

namespace {

constexpr std::size_t kWarmUpRounds = 3;
constexpr double kNsPerSecond = 1e9;

// Stores the time of a run instead of printing it.
class Keeper final : public benchmark::BenchmarkReporter {
 public:
  explicit Keeper(Rounds::Round& round) : mRound(round) {}
  bool ReportContext(Context const& /*context*/) override { return true; }
  void ReportRuns(std::vector<Run> const& runs) override {
    for (Run const& run : runs) {
      mRound[run.run_name.function_name] = run.real_accumulated_time * kNsPerSecond / run.counters.at("units").value;
    }
  }

 private:
  Rounds::Round& mRound;
};

}  // namespace

void Rounds::Add(std::string const& name, std::size_t units, std::function<void()> prepare,
                 std::function<void()> block) {
  AddTimed(name, units, [prepare = std::move(prepare), block = std::move(block)] {
    prepare();
    auto const begin = std::chrono::steady_clock::now();
    block();
    return std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - begin).count();
  });
}

void Rounds::AddTimed(std::string const& name, std::size_t units, std::function<double()> block) {
  auto const run = [units, block = std::move(block)](benchmark::State& state) {
    for (auto _ : state) state.SetIterationTime(block() / kNsPerSecond);
    state.counters["units"] = static_cast<double>(units);
  };
  benchmark::RegisterBenchmark(name.c_str(), run)->Iterations(1)->UseManualTime();
}

void Rounds::Run(std::size_t rounds) {
  mRounds.clear();
  for (std::size_t i = 0; i < rounds + kWarmUpRounds; ++i) {
    Round round;
    Keeper keeper(round);
    benchmark::RunSpecifiedBenchmarks(&keeper);
    if (i >= kWarmUpRounds) mRounds.push_back(std::move(round));
  }
  benchmark::ClearRegisteredBenchmarks();
}

double Rounds::Median(std::function<double(Round const&)> const& figure) const {
  std::vector<double> values;
  for (Round const& round : mRounds) values.push_back(figure(round));
  auto const middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

double Rounds::Median(std::string const& name) const {
  return Median([&](Round const& round) { return round.at(name); });
}

}  // namespace bench
