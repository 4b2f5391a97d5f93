#include <algorithm>
#include <cmath>

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
  Format format = Format::kTable;
  std::string output;
};

Budget BudgetOf(BudgetArguments const& arguments, double hallRateHz, std::int64_t exposureUs) {
  Timing timing;
  timing.hallIntervalNs = std::llround(1e9 / hallRateHz);
  timing.frameIntervalNs = std::llround(1e9 / arguments.frameRateHz);
  timing.exposureNs = exposureUs * 1000;
  timing.readoutNs = arguments.readoutUs * 1000;
  timing.deliveryDelayNs = arguments.deliveryDelayUs * 1000;
  return MakeBudget(timing);
}

// The values of a sweep and, where it is given, the one of the command line.
template <class Number, std::size_t N>
std::vector<Number> Values(Number const (&swept)[N], std::optional<Number> const& given) {
  std::vector<Number> values(swept, swept + N);
  if (given) values.push_back(*given);
  std::sort(values.begin(), values.end());
  values.erase(std::unique(values.begin(), values.end()), values.end());
  return values;
}

std::vector<Budget> BudgetsOf(BudgetArguments const& arguments) {
  std::vector<Budget> budgets;
  if (arguments.sweep == "exposure") {
    for (std::int64_t const us : Values(kSweptExposuresUs, arguments.exposureUs)) {
      if (static_cast<double>(us) * arguments.frameRateHz > 1e6) break;
      budgets.push_back(BudgetOf(arguments, *arguments.hallRateHz, us));
    }
  } else if (arguments.sweep == "hall-rate") {
    for (double const hz : Values(kSweptRatesHz, arguments.hallRateHz)) {
      budgets.push_back(BudgetOf(arguments, hz, *arguments.exposureUs));
    }
  } else {
    budgets.push_back(BudgetOf(arguments, *arguments.hallRateHz, *arguments.exposureUs));
  }
  return budgets;
}

// No frame is exposed for longer than there is from one to the next.
void RefuseLongExposure(BudgetArguments const& arguments) {
  auto const frameUs = static_cast<std::int64_t>(1e6 / arguments.frameRateHz);
  if (!arguments.exposureUs || *arguments.exposureUs <= frameUs) return;
  throw CLI::ValidationError("--exposure-us", fmt::format("expected at most {}, the time between two frames, found {}",
                                                          frameUs, *arguments.exposureUs));
}

// Only the swept option may be missing.
void RefuseMissing(BudgetArguments const& arguments) {
  if (!arguments.hallRateHz && arguments.sweep != "hall-rate") throw CLI::RequiredError("--hall-rate");
  if (!arguments.exposureUs && arguments.sweep != "exposure") throw CLI::RequiredError("--exposure-us");
}

int ShowBudget(BudgetArguments const& arguments) {
  RefuseMissing(arguments);
  RefuseLongExposure(arguments);
  std::vector<Budget> const budgets = BudgetsOf(arguments);
  OutputFile output(arguments.output);
  Json const document = BudgetsJson(budgets);
  output.Write(arguments.format == Format::kJson  ? JsonText(document)
               : arguments.format == Format::kCsv ? CsvText(document["budgets"])
               : arguments.sweep.empty()          ? BudgetText(document)
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
  AddResultOptions(command, arguments.format, arguments.output);
}

}  // namespace

Command AddBudgetCommand(CLI::App& command) { return MakeCommand(command, AddOptions, ShowBudget); }

}  // namespace shadingctl
