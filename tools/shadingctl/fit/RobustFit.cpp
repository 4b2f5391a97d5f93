#include "hosting/LibraryNumbers.h"
#include "tools/shadingctl/fit/ImageAxis.h"
#include "tools/shadingctl/statistics/Median.h"

namespace shadingctl {
namespace {

constexpr double kLeastScale = 0.001;  // of the motion: a target is hardly seen better, nor a lens between its samples
constexpr int kMostSteps = 80;         // it takes about 15
constexpr int kStartSteps = 8;         // of least absolute deviations, which no frame escapes as an outlier
constexpr double kSmallError = 0.05;   // scales; smaller ones weigh no more there
constexpr int kMarkingSteps = 25;      // then the outliers stay, so that the rest settles
constexpr double kSettledUs = 0.02;
constexpr double kMostCorrelation = 0.995;
constexpr double kMostLeverage = 0.5;

// The first autocorrelation of frames that are no outliers, corrected for what the parameters absorb of slow errors.
double CorrelationOf(RobustFit const& fit) {
  double squares = 0;
  double products = 0;
  double frames = 0;
  double pairs = 0;
  for (std::size_t i = 0; i < fit.residuals.size(); ++i) {
    if (fit.isOutlier[i]) continue;
    squares += fit.residuals[i] * fit.residuals[i];
    ++frames;
    if (i == 0 || fit.isOutlier[i - 1]) continue;
    products += fit.residuals[i] * fit.residuals[i - 1];
    ++pairs;
  }
  double const found = squares > 0 && pairs > 0 ? products / pairs / (squares / frames) : 0;
  return std::clamp(found + (2 + 4 * found) / frames, -kMostCorrelation, kMostCorrelation);
}

// A frame's equation, less what the frame before predicts of its error. That of an outlier is empty.
struct Equation {
  Parameters change{};
  double error = 0;
};

struct Whitened {
  std::vector<Equation> equations;
  double scale = 0;  // of their errors
};

Whitened Whiten(RobustFit const& fit) {
  double const rho = fit.correlation;
  Whitened whitened;
  whitened.equations.resize(fit.residuals.size());
  std::vector<double> errors;
  std::optional<std::size_t> before;
  for (std::size_t i = 0; i < fit.residuals.size(); ++i) {
    if (fit.isOutlier[i]) continue;
    double const share = before ? std::pow(rho, static_cast<double>(i - *before)) : 0;
    double const factor = std::sqrt((1 - rho * rho) / (1 - share * share));
    std::size_t const from = before.value_or(i);
    auto& [change, error] = whitened.equations[i];
    for (std::size_t k = 0; k < kParameters; ++k)
      change[k] = factor * (fit.tangents[i].change[k] - share * fit.tangents[from].change[k]);
    error = factor * (fit.residuals[i] - share * fit.residuals[from]);
    errors.push_back(error);
    before = i;
  }
  double const expected = std::sqrt(1 - rho * rho) * fit.scale;
  whitened.scale = std::max(expected / 2, RobustDeviation(std::move(errors)));
  return whitened;
}

// 1 for no error, 0 from the error of an outlier on.
double NearnessOf(Equation const& equation, double scale) {
  return std::max(0.0, 1 - std::pow(equation.error / (kOutlierScales * scale), 2));
}

// Each error is enlarged to what it would be had the frame not been fitted (HC3).
bool FillInfluences(RobustFit& fit, Whitened const& whitened, std::size_t count) {
  Moments slopes{count};  // of the weighted errors
  for (Equation const& equation : whitened.equations) {
    double const nearness = NearnessOf(equation, whitened.scale);
    slopes.Add(equation.change, 0, nearness * (5 * nearness - 4));
  }
  for (Equation const& equation : whitened.equations) {
    slopes.right = equation.change;
    auto moved = slopes.Solve();
    if (!moved) return false;
    double const leverage = std::min(Dot(*moved, equation.change), kMostLeverage);
    double const weighted = std::pow(NearnessOf(equation, whitened.scale), 2) * equation.error / (1 - leverage);
    for (double& part : *moved) part *= weighted;
    fit.influences.push_back(*moved);
  }
  return true;
}

double Freedom(FrameWindows const& windows) {
  return static_cast<double>(windows.list.size()) - static_cast<double>(windows.parameters);
}

}  // namespace

void Evaluate(ImageAxis const& axis, RobustFit& fit, bool marksOutliers) {
  fit.tangents.clear();
  fit.residuals.clear();
  for (FrameWindow const& window : axis.windows.list) {
    fit.tangents.push_back(axis.TangentOf(window, fit.at));
    fit.residuals.push_back(window.position[axis.index] - fit.tangents.back().position);
  }
  fit.scale = std::max(kLeastScale * axis.windows.Motion(axis.index), RobustDeviation(fit.residuals));
  fit.isOutlier.resize(fit.residuals.size());
  for (std::size_t i = 0; marksOutliers && i < fit.residuals.size(); ++i)
    fit.isOutlier[i] = std::abs(fit.residuals[i]) > kOutlierScales * fit.scale;
  fit.correlation = CorrelationOf(fit);
}

std::optional<RobustFit> FitRobustly(ImageAxis const& axis, Parameters const& at) {
  RobustFit fit;
  fit.at = at;
  for (int step = 0; step < kMostSteps; ++step) {
    bool const isStart = step < kStartSteps;
    Evaluate(axis, fit, step < kMarkingSteps);
    if (isStart) {
      fit.isOutlier.assign(fit.isOutlier.size(), false);
      fit.correlation = 0;
    }
    Whitened const whitened = Whiten(fit);
    Moments moments{axis.windows.parameters};
    for (Equation const& equation : whitened.equations) {
      double const deviation = std::max(std::abs(equation.error) / whitened.scale, kSmallError);
      moments.Add(equation.change, equation.error,
                  isStart ? 1 / deviation : std::pow(NearnessOf(equation, whitened.scale), 2));
    }
    auto const change = moments.Solve();
    if (!change) return std::nullopt;
    if (!isStart && std::abs((*change)[kLag]) < kSettledUs)
      return FillInfluences(fit, whitened, moments.count) ? std::optional(std::move(fit)) : std::nullopt;
    for (std::size_t i = 0; i < kParameters; ++i) fit.at[i] += (*change)[i];
  }
  return std::nullopt;
}

double ErrorOf(BothAxes const& fits, Parameters const& ofX, Parameters const& ofY) {
  double squares = 0;
  for (std::size_t i = 0; i < fits[0].influences.size(); ++i)
    squares += std::pow(Dot(ofX, fits[0].influences[i]) + Dot(ofY, fits[1].influences[i]), 2);
  return std::sqrt(squares);
}

double HalfWidth(double standardError, FrameWindows const& windows) {
  return (1.96 + 2.37 / Freedom(windows)) * standardError;  // quantile of Student's distribution, nearly
}

double ProbabilityOfLibrary(BothAxes const& fits, FrameWindows const& windows) {
  bool const hasSlope = windows.slope == SlopeState::kFitted;
  auto const row = [](Parameters const& x, Parameters const& y) {
    return Parameters{x[kLag], y[kLag], x[kSlope], y[kSlope]};
  };
  Moments covariance{std::size_t{hasSlope ? 4U : 2U}};
  for (std::size_t i = 0; i < fits[0].influences.size(); ++i)
    covariance.Add(row(fits[0].influences[i], fits[1].influences[i]), 0, 1);
  double const lagUs = LibraryLagUs(windows.shorterUs);
  Parameters const found = row(fits[0].at, fits[1].at);
  covariance.right = {found[0] - lagUs, found[1] - lagUs, found[2] - hosting::kOffsetFactor,
                      found[3] - hosting::kOffsetFactor};
  auto const solution = covariance.Solve();
  if (!solution) return 0;
  // The tail of the F distribution, in closed form for 2 and 4 degrees.
  double const freedom = Freedom(windows);
  double const share = freedom / (freedom + Dot(covariance.right, *solution));
  return std::pow(share, freedom / 2) * (hasSlope ? 1 + freedom / 2 * (1 - share) : 1);
}

}  // namespace shadingctl
