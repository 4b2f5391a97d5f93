#include <fmt/format.h>

#include "hosting/LibraryNumbers.h"
#include "tools/shadingctl/fit/LagFit.h"

namespace shadingctl {
namespace {

// RMS of the motion that the gains give the image.
double MotionOf(RobustFit const& fit) {
  double squares = 0;
  for (Tangent const& tangent : fit.tangents) squares += tangent.change[kCurvature];
  return std::sqrt(squares / static_cast<double>(fit.tangents.size()));
}

double ResidualOf(RobustFit const& fit) {
  std::vector<double> residuals;
  for (std::size_t i = 0; i < fit.residuals.size(); ++i)
    if (!fit.isOutlier[i]) residuals.push_back(fit.residuals[i]);
  return std::sqrt(MeanSquare(residuals));
}

double CrossTalkOf(Parameters const& at) { return IsDrivenByY(at) ? at[kGainX] / at[kGainY] : at[kGainY] / at[kGainX]; }

// The change of a quantity with the parameters.
Parameters GradientOf(ReferenceFit const& fit, std::size_t axis, Quantity quantity) {
  Parameters const& at = fit.axes[axis].at;
  Parameter const driving = IsDrivenByY(at) ? kGainY : kGainX;
  Parameter const other = IsDrivenByY(at) ? kGainX : kGainY;
  Parameters gradient{};
  if (quantity == kLagUs || quantity == kLagInterceptUs) gradient[kLag] = 1;
  if (quantity == kLagInterceptUs) gradient[kSlope] = -fit.windows.slopeByUs;
  if (quantity == kLagSlope) gradient[kSlope] = 1;
  if (quantity == kGain) gradient[driving] = 1;
  if (quantity == kCrossTalk) gradient[other] = 1 / at[driving];
  if (quantity == kCrossTalk) gradient[driving] = -CrossTalkOf(at) / at[driving];
  if (quantity == kGainCurvature) gradient[kCurvature] = 2 * MotionOf(fit.axes[axis]);
  if (quantity == kImageTrend) gradient[kTrend] = 2;
  if (quantity == kTrendBend) gradient[kBend] = 1;
  if (quantity == kDriftPpm) gradient[kDrift] = 2e6 / fit.windows.spanUs;
  return gradient;
}

constexpr double kSignificance = 0.05;
constexpr double kLeastUs = 250;         // a sixth of the library's tolerance: nearer lags take nearly the same samples
constexpr double kWidestAgreedUs = 500;  // half-width of a lag that can agree
constexpr double kWidestSlope = 0.25;    // half-width: half the distance of two moments of the exposure
constexpr double kErrors = 3;            // standard errors that a cause must stand out by, or may miss by
constexpr double kNearUs = 300;          // by which a lag may miss a whole number of frames, or a readout
constexpr double kLeastChange = 0.02;    // of the gain, by an RMS of the motion

// What the timestamp of a frame may be, and the lag that it makes: slope * exposure + intercept.
struct Stamp {
  char const* code;  // empty: what the library takes it for
  double slope;
  double interceptUs;
  char const* text;
};
constexpr Stamp kStamps[] = {
    {"", hosting::kOffsetFactor, hosting::kOffsetConstantUs, ""},
    {"stamped_end", -0.5, 0,
     "a frame's timestamp is the end of its first line's exposure, as the library takes it, and its picture shows the "
     "lens half an exposure before: expected of an ideal phone, as the library's slope is an empirical one; nothing in "
     "the HAL is to be changed"},
    {"stamped_middle", -1.0, 0,
     "a frame's timestamp is the middle of its first line's exposure: hand in timestamps later by half the exposure"},
    {"stamped_start", -1.5, 0,
     "a frame's timestamp is the start of its first line's exposure: hand in timestamps later by the exposure"},
};
constexpr char kReadoutEnd[] =
    "a frame's timestamp is the end of its last line's exposure, or that of the first line's by a clock that is off by "
    "a readout: hand in timestamps earlier by the readout";

bool IsClear(double value, double error, double least) { return std::abs(value) > std::max(kErrors * error, least); }

// Of x and y together, each by its weight.
struct Pooled {
  double value = 0;
  double error = 0;  // standard error
};

Pooled PoolOf(ReferenceFit const& fit, Parameter parameter) {
  double const ofX = std::pow(ErrorOf(fit.axes, Only(parameter), {}), 2);
  double const ofY = std::pow(ErrorOf(fit.axes, {}, Only(parameter)), 2);
  double const weight = ofY / (ofX + ofY);
  return {weight * fit.axes[0].at[parameter] + (1 - weight) * fit.axes[1].at[parameter],
          ErrorOf(fit.axes, Only(parameter, weight), Only(parameter, 1 - weight))};
}

bool IsClearOnAny(ReferenceFit const& fit, Quantity quantity, double least) {
  auto const isClear = [&](std::size_t axis) {
    auto const estimate = EstimateOf(fit, axis, quantity);
    return IsClear(estimate->value, *estimate->half / HalfWidth(1, fit.windows), least);
  };
  return isClear(0) || isClear(1);
}

// The only stamp whose slope lies inside the fit's interval; nullopt where that is wide, or several lie inside.
std::optional<Stamp> StampOf(ReferenceFit const& fit) {
  if (fit.windows.slope != SlopeState::kFitted) return std::nullopt;
  Pooled const slope = PoolOf(fit, kSlope);
  double const half = HalfWidth(slope.error, fit.windows);
  auto const lies = [&](Stamp const& stamp) { return std::abs(slope.value - stamp.slope) <= half; };
  auto const found = std::find_if(std::begin(kStamps), std::end(kStamps), lies);
  if (!(half < kWidestSlope) || std::count_if(std::begin(kStamps), std::end(kStamps), lies) != 1) return std::nullopt;
  Pooled const lag = PoolOf(fit, kLag);
  double const beyondReadoutUs = lag.value - found->slope * fit.windows.slopeByUs - fit.readoutUs;
  bool const isReadoutEnd = found->slope == -0.5 && !IsClear(beyondReadoutUs, lag.error, kNearUs);
  return isReadoutEnd ? Stamp{"stamped_readout_end", found->slope, fit.readoutUs, kReadoutEnd} : *found;
}

// How much longer the lag of image x is than that of y; 0 where that is not clear.
double AxesApartUs(ReferenceFit const& fit) {
  double const apartUs = fit.axes[0].at[kLag] - fit.axes[1].at[kLag];
  return IsClear(apartUs, ErrorOf(fit.axes, Only(kLag), Only(kLag, -1)), kLeastUs) ? apartUs : 0;
}

// What the stamp leaves of the lag.
void AddConstant(ReferenceFit const& fit, std::optional<Stamp> const& stamp, std::vector<Cause>& causes) {
  bool const isLibrarys = !stamp || *stamp->code == '\0';
  Pooled const lag = PoolOf(fit, kLag);
  double const offUs = lag.value - (isLibrarys ? LibraryLagUs(fit.windows.shorterUs)
                                               : stamp->slope * fit.windows.slopeByUs + stamp->interceptUs);
  double const frames = std::round(offUs / fit.frameIntervalUs);
  bool const isFrames = (std::abs(frames) == 1 || std::abs(frames) == 2) &&
                        !IsClear(offUs - frames * fit.frameIntervalUs, lag.error, kNearUs);
  if (isFrames) {
    causes.push_back(
        {"frame_numbers",
         fmt::format("the reference's picture N is the recording's frame N{:+.0f}: correct its numbers", -frames)});
  }
  if (isFrames || (isLibrarys && stamp && IsClear(offUs, lag.error, std::max(kLeastUs, std::abs(AxesApartUs(fit)))))) {
    causes.push_back({"clock_constant", fmt::format("the samples' times are {:.0f} us {} for the frames': correct "
                                                    "either clock by that constant",
                                                    std::abs(offUs), offUs < 0 ? "too late" : "too early")});
  }
}

}  // namespace

std::optional<Estimate> EstimateOf(ReferenceFit const& fit, std::size_t axis, Quantity quantity) {
  SlopeState const slope = fit.windows.slope;
  bool const isOfSlope = quantity == kLagSlope || quantity == kLagInterceptUs;
  if (!fit.hasLag || (isOfSlope && slope != SlopeState::kFitted)) return std::nullopt;
  if (quantity == kDriftPpm && slope == SlopeState::kFollowsTime) return std::nullopt;
  RobustFit const& robust = fit.axes[axis];
  bool const isRefined = isOfSlope || quantity == kGainCurvature || quantity == kDriftPpm || quantity == kCorrelation;
  if (isRefined && robust.influences.empty()) return std::nullopt;
  if (quantity == kResidual) return Estimate{ResidualOf(robust)};
  if (quantity == kResidualShare) return Estimate{ResidualOf(robust) / fit.windows.Motion(axis)};
  if (quantity == kCorrelation) return Estimate{robust.correlation};
  Parameters const gradient = GradientOf(fit, axis, quantity);
  Estimate estimate{Dot(gradient, robust.at)};
  if (quantity == kCrossTalk) estimate.value = CrossTalkOf(robust.at);
  if (robust.influences.empty()) return estimate;
  double const error = axis == 0 ? ErrorOf(fit.axes, gradient, {}) : ErrorOf(fit.axes, {}, gradient);
  estimate.half = HalfWidth(error, fit.windows);
  return estimate;
}

std::string VerdictOf(ReferenceFit const& fit) {
  if (fit.refused) return "cannot_tell";
  auto const& [x, y] = fit.differences;
  if (fit.probability < kSignificance) return std::max(x.farthestUs, y.farthestUs) > kLeastUs ? "differs" : "agrees";
  double const halfUs = std::max(*EstimateOf(fit, 0, kLagUs)->half, *EstimateOf(fit, 1, kLagUs)->half);
  return halfUs > kWidestAgreedUs ? "cannot_tell" : "agrees";
}

std::string ReasonOf(ReferenceFit const& fit) {
  if (fit.refused) return fit.refused->text;
  double const halfUs = std::max(*EstimateOf(fit, 0, kLagUs)->half, *EstimateOf(fit, 1, kLagUs)->half);
  double const farthestUs = std::max(fit.differences[0].farthestUs, fit.differences[1].farthestUs);
  std::string reason =
      fmt::format("the pictures show samples up to {:.0f} us from those that the library takes", farthestUs);
  reason += fmt::format("; the session tells the lag to {:.0f} us", halfUs);
  if (fit.windows.slope == SlopeState::kOneExposure) reason += "; exposures vary too little to tell a slope";
  if (fit.windows.slope == SlopeState::kFollowsTime)
    reason += "; slope and drift look alike, as the exposure rises or falls with time: sweep it up and down twice";
  return reason;
}

std::vector<Cause> DiagnosisOf(ReferenceFit const& fit) {
  std::vector<Cause> causes;
  if (fit.refused || fit.windows.slope == SlopeState::kFollowsTime) return causes;
  if (VerdictOf(fit) == "differs") {
    auto const stamp = StampOf(fit);
    if (stamp && *stamp->code != '\0') causes.push_back({stamp->code, stamp->text});
    if (stamp || fit.windows.slope == SlopeState::kOneExposure) AddConstant(fit, stamp, causes);
  }
  double const apartUs = AxesApartUs(fit);
  if (apartUs != 0) {
    causes.push_back({"axes_differ", fmt::format("the lag of image x is {:.0f} us {} than that of y: look for a filter "
                                                 "that one axis of the stabiliser has alone",
                                                 std::abs(apartUs), apartUs > 0 ? "longer" : "shorter")});
  }
  if (fit.clipped > 0) {
    causes.push_back({"clipped", fmt::format("{} frames left out, in which the samples touch an end of their range: "
                                             "drive the lens less far",
                                             fit.clipped)});
  }
  if (IsClearOnAny(fit, kGainCurvature, kLeastChange))
    causes.push_back({"curved", "the image does not follow the lens in proportion: drive the lens less far"});
  if (IsClearOnAny(fit, kDriftPpm, kLeastUs / fit.windows.spanUs * 1e6))
    causes.push_back({"drift", "the clocks of frames and samples run at different rates: stamp both by one clock"});
  return causes;
}

}  // namespace shadingctl
