#include <cmath>
#include <set>

#include "tools/shadingctl/budget/Budget.h"
#include "tools/shadingctl/commands/Options.h"

namespace shadingctl {
namespace {

constexpr std::int64_t kLongestUs = 4000000;
constexpr std::int64_t kSweptExposuresUs[] = {100,   200,   500,   1000,  2000,  4000,  6000,   8000,
                                              10000, 15000, 20000, 30000, 40000, 60000, 100000, 200000};
constexpr double kSweptRatesHz[] = {50, 100, 200, 300, 400, 500, 800, 1000, 1500, 2000, 4000, 8000, 16000};

struct BudgetArguments {
  std::optional<double> hallRateHz;
  double frameRateHz = 60;
  std::optional<std::int64_t> exposureUs;
  std::int64_t readoutUs = 0;
  std::int64_t deliveryDelayUs = 1000;
  std::string sweep;  // empty: none
  bool checks = false;
  ResultOptions result;
};

// The values of a sweep and, where it is given, the one of the command line; without a sweep only that.
template <class Number, std::size_t N>
std::set<Number> Values(bool isSwept, Number const (&swept)[N], std::optional<Number> const& given) {
  std::set<Number> values;
  if (isSwept) values.insert(swept, swept + N);
  if (given) values.insert(*given);
  return values;
}

std::vector<Budget> BudgetsOf(BudgetArguments const& arguments) {
  bool const sweepsExposure = arguments.sweep == "exposure";
  std::vector<Budget> budgets;
  for (double const hz : Values(arguments.sweep == "hall-rate", kSweptRatesHz, arguments.hallRateHz)) {
    for (std::int64_t const us : Values(sweepsExposure, kSweptExposuresUs, arguments.exposureUs)) {
      if (sweepsExposure && static_cast<double>(us) * arguments.frameRateHz > 1e6) break;
      Timing timing;
      timing.hallIntervalNs = std::llround(1e9 / hz);
      timing.frameIntervalNs = std::llround(1e9 / arguments.frameRateHz);
      timing.exposureNs = us * 1000;
      timing.readoutNs = arguments.readoutUs * 1000;
      timing.deliveryDelayNs = arguments.deliveryDelayUs * 1000;
      budgets.push_back(MakeBudget(timing));
    }
  }
  return budgets;
}

// Only the swept option may be missing, and no frame is exposed for longer than there is from one to the next.
void RefuseMissingOrTooLong(BudgetArguments const& arguments) {
  if (!arguments.hallRateHz && arguments.sweep != "hall-rate") throw CLI::RequiredError("--hall-rate");
  if (!arguments.exposureUs && arguments.sweep != "exposure") throw CLI::RequiredError("--exposure-us");
  auto const frameUs = static_cast<std::int64_t>(1e6 / arguments.frameRateHz);
  if (!arguments.exposureUs || *arguments.exposureUs <= frameUs) return;
  throw CLI::ValidationError("--exposure-us", fmt::format("expected at most {}, the time between two frames, found {}",
                                                          frameUs, *arguments.exposureUs));
}

int ShowBudget(BudgetArguments const& arguments) {
  RefuseMissingOrTooLong(arguments);
  std::vector<Budget> const budgets = BudgetsOf(arguments);
  OutputFile output(arguments.result.output);
  Json const document = BudgetsJson(budgets);
  output.Write(arguments.result.format == Format::kJson  ? JsonText(document)
               : arguments.result.format == Format::kCsv ? CsvText(document["budgets"])
               : arguments.sweep.empty()                 ? BudgetText(document)
                                                         : BudgetsTable(document));
  output.Finish();
  bool const fits =
      std::all_of(budgets.begin(), budgets.end(), [](Budget const& budget) { return budget.bothEndsNear >= 1; });
  return fits || !arguments.checks ? kExitDone : kExitDifference;
}

void AddOptions(CLI::App& command, BudgetArguments& arguments) {
  AddNumber(command, "--hall-rate", arguments.hallRateHz, 1.0, 100000.0, "Hall samples a second");
  AddNumber(command, "--frame-rate", arguments.frameRateHz, 1.0, 1000.0, "Frames a second")
      ->required()
      ->default_str("");
  AddNumber(command, "--exposure-us", arguments.exposureUs, std::int64_t{0}, kLongestUs, "Exposure time");
  AddNumber(command, "--readout-us", arguments.readoutUs, std::int64_t{0}, kLongestUs, "Readout time")
      ->required()
      ->default_str("");
  AddNumber(command, "--delivery-delay-us", arguments.deliveryDelayUs, std::int64_t{0}, std::int64_t{1000000},
            "From the end of a frame's readout to the delivery of its samples");
  command.add_option("--sweep", arguments.sweep, "A table over this setting, whose own option may then be missing")
      ->check(CLI::IsMember({"exposure", "hall-rate"}));
  command.add_flag("--check", arguments.checks,
                   "Exit code 1 unless both ends of every frame's search interval are near a sample");
  AddResultOptions(command, arguments.result);
}

}  // namespace

Command AddBudgetCommand(CLI::App& command) { return MakeCommand(command, AddOptions, ShowBudget); }

}  // namespace shadingctl
