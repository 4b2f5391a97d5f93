#include "tools/shadingctl/fit/LagFit.h"

#include <fmt/format.h>

#include <numeric>

#include "tools/shadingctl/statistics/Median.h"

namespace shadingctl {
namespace {

constexpr std::size_t kFewestFrames = 100;    // fewer leave too little beside nine parameters of each axis
constexpr double kLongestIntervalUs = 10000;  // between samples: 100 Hz, several of them in a swing of the hand
constexpr double kLongestFrameUs = 100000;    // interval of frames; longer ones widen the search no further
constexpr double kLeastExcessUs = 500;        // RMS of exposure less min(exposure, readout)
constexpr double kMostResidualShare = 0.5;    // above it, the image does not follow the lens
constexpr double kMostOutliers = 0.25;        // share of the frames; the search leaves out as many
constexpr double kGridUs = 2000;              // of the search: the hand's fastest swings last 80 ms
constexpr double kMarginUs = 10000;           // by which frames' lags may differ from the best one of the search
// Of the search: the first one at all lags, all of them near the best.
constexpr double kSlopes[] = {-0.5, -1.5, -1.0, 0.0, 0.5};

template <class... Values>
[[noreturn]] void Refuse(char const* code, char const* text, Values const&... values) {
  throw Cause{code, fmt::format(fmt::runtime(text), values...)};
}

// A step throws a Cause where it cannot go on.
class Fitting {
 public:
  Fitting(HallSignal const& hall, std::vector<ReferenceFrame> const& frames, FitOptions const& options) : mHall(hall) {
    mFit.leftOut = frames.size();
    std::vector<FrameWindow> list;
    std::vector<double> intervalsUs;
    std::vector<double> readoutsUs;
    for (ReferenceFrame const& frame : frames) {
      if (!(frame.readoutUs > 0)) continue;
      double const startUs = static_cast<double>(frame.startOfFrameNs - hall.FirstNs()) / 1e3;
      readoutsUs.push_back(frame.readoutUs);
      if (!list.empty()) {
        double const passedUs = startUs + frame.exposureUs - list.back().startUs - list.back().exposureUs;
        intervalsUs.push_back(passedUs / static_cast<double>(frame.frame - list.back().frame));
      }
      list.push_back({frame, startUs, startUs + frame.readoutUs});
    }
    mFit.windows = FrameWindows(std::move(list));
    mFit.readoutUs = Median(std::move(readoutsUs)).value_or(0);
    mFit.frameIntervalUs = Median(std::move(intervalsUs)).value_or(0);
    double const searchUs = options.searchUs + 2 * std::clamp(mFit.frameIntervalUs, 0.0, kLongestFrameUs);
    for (double lagUs = -searchUs; lagUs <= searchUs; lagUs += kGridUs) mLagsUs.push_back(lagUs);
  }

  ReferenceFit Run() {
    try {
      std::array<LagTrial, 2> const found = {Search(0), Search(1)};
      Select(found);
      CheckSearch(found);
      Refine();
    } catch (Cause const& refusal) {
      mFit.refused = refusal;
    }
    if (mFit.hasLag) Compare();
    return std::move(mFit);
  }

 private:
  ImageAxis Axis(std::size_t index) const { return {mHall, mFit.windows, index}; }

  LagTrial Search(std::size_t axis) const {
    bool const isStill = mFit.windows.list.size() >= kFewestFrames && !(mFit.windows.Motion(axis) > 0);
    if (isStill) Refuse("too_little_motion", "reference {} stands still", "xy"[axis]);
    bool const hasSlope = mFit.windows.slope == SlopeState::kFitted;
    std::optional<LagTrial> best;
    auto const tryLag = [&](double lagUs, double slope) {
      Parameters at = Only(kLag, lagUs);
      at[kSlope] = slope;
      auto const trial = Axis(axis).TryLag(at, kFewestFrames);
      if (trial && (!best || trial->share < best->share)) best = trial;
    };
    for (double const lagUs : mLagsUs) tryLag(lagUs, hasSlope ? kSlopes[0] : 0);
    if (!best) RefuseFrames();
    double const firstUs = best->at[kLag];
    for (double const slope : kSlopes) {
      for (int step = -3; hasSlope && step <= 3; ++step) tryLag(firstUs + step * kGridUs, slope);
    }
    return *best;
  }

  [[noreturn]] void RefuseFrames() const {
    std::size_t counts[] = {0, 0, mFit.clipped};
    for (FrameWindow const& window : mFit.windows.list)
      ++counts[static_cast<std::size_t>(mHall.CoverageOf(window.startUs, window.endUs))];
    auto const [whole, partial, clipped] = counts;
    if (whole >= kFewestFrames && mFit.clipped == 0)
      Refuse("too_little_motion", "hall_x or hall_y stands still, or both move as one");
    Refuse(whole + clipped < kFewestFrames ? "too_few_frames" : "clipped",
           "expected {} frames of the reference with samples all around them, found {}, and {} whose samples touch an "
           "end of their range",
           kFewestFrames, whole, clipped);
  }

  // Keeps the frames with samples all around them at both lags that were found, and a margin on either side.
  void Select(std::array<LagTrial, 2> const& found) {
    auto const [least, most] = std::minmax(found[0].at[kLag], found[1].at[kLag]);
    std::vector<FrameWindow> selected;
    for (FrameWindow const& window : mFit.windows.list) {
      Coverage const coverage = mHall.CoverageOf(window.startUs - most - kMarginUs, window.endUs - least + kMarginUs);
      if (coverage == Coverage::kWhole) selected.push_back(window);
      if (coverage == Coverage::kClipped) ++mFit.clipped;
    }
    if (selected.size() < kFewestFrames) RefuseFrames();
    mFit.leftOut -= selected.size();
    mFit.windows = FrameWindows(std::move(selected));
    mFit.hasLag = true;
    for (std::size_t axis = 0; axis < 2; ++axis) {
      mFit.axes[axis].at = found[axis].at;
      if (mFit.windows.parameters <= kSlope) mFit.axes[axis].at[kSlope] = 0;
      Evaluate(Axis(axis), mFit.axes[axis]);
    }
  }

  void CheckSearch(std::array<LagTrial, 2> const& found) const {
    double const edgeUs = mLagsUs.back() - kGridUs;
    for (std::size_t axis = 0; axis < 2; ++axis) {
      if (found[axis].share > kMostResidualShare) {
        CheckOutliers();
        Refuse(mFit.windows.IsSmooth(axis) ? "not_this_recording" : "too_little_motion",
               "reference {}: too little motion, not of this recording, or a lag beyond the search: expected at most "
               "{:.0f} % of the motion unexplained, found {:.0f} % at the best lag",
               "xy"[axis], 100 * kMostResidualShare, 100 * found[axis].share);
      }
      if (std::abs(found[axis].at[kLag]) > edgeUs)
        Refuse("search_edge", "reference {}: expected a lag within {:.0f} us, found it at the end of the search",
               "xy"[axis], edgeUs);
    }
  }

  void CheckOutliers() const {
    for (RobustFit const& fit : mFit.axes) {
      auto const count = static_cast<double>(std::count(fit.isOutlier.begin(), fit.isOutlier.end(), true));
      double const share = count / static_cast<double>(fit.isOutlier.size());
      if (share > kMostOutliers)
        Refuse("outliers", "expected at most {:.0f} % of the frames off by more than {} scales, found {:.0f} %",
               100 * kMostOutliers, kOutlierScales, 100 * share);
    }
  }

  std::optional<BothAxes> FitBoth(FrameWindows const& windows) const {
    BothAxes fits;
    for (std::size_t axis = 0; axis < 2; ++axis) {
      Parameters const& start = mFit.axes[axis].at;
      auto fit = FitRobustly({mHall, windows, axis}, start);
      if (!fit || std::abs(fit->at[kLag] - start[kLag]) > 2 * kGridUs) return std::nullopt;
      fits[axis] = std::move(*fit);
    }
    return fits;
  }

  void Refine() {
    auto shorter = FitBoth(mFit.windows);
    if (!shorter) {
      CheckOutliers();
      Refuse("too_little_motion", "no lag fits better than its neighbours");
    }
    mFit.axes = std::move(*shorter);
    CheckOutliers();
    mFit.probability = ProbabilityOfLibrary(mFit.axes, mFit.windows);
    ChooseExposure();
  }

  // Whether the lag follows the exposure or min(exposure, readout): that of the two which fits better by more than
  // chance (Vuong's test).
  void ChooseExposure() {
    FrameWindows byExposure(mFit.windows.list, true);
    std::vector<double> excessUs;
    for (std::size_t i = 0; i < byExposure.list.size(); ++i)
      excessUs.push_back(byExposure.list[i].slopeByUs - mFit.windows.list[i].slopeByUs);
    bool const areFitted = mFit.windows.slope == SlopeState::kFitted && byExposure.slope == SlopeState::kFitted;
    if (!areFitted || MeanSquare(excessUs) < kLeastExcessUs * kLeastExcessUs) return;
    auto other = FitBoth(byExposure);
    if (!other) return;
    std::vector<double> gains(excessUs.size());
    for (std::size_t axis = 0; axis < 2; ++axis) {
      RobustFit const& one = mFit.axes[axis];
      RobustFit const& two = (*other)[axis];
      double const limit = kOutlierScales * std::min(one.scale, two.scale);
      auto const loss = [limit](double residual) { return std::min(1.0, std::pow(residual / limit, 2)); };
      for (std::size_t i = 0; i < gains.size(); ++i) gains[i] += loss(one.residuals[i]) - loss(two.residuals[i]);
    }
    auto const frames = static_cast<double>(gains.size());
    double const gain = std::accumulate(gains.begin(), gains.end(), 0.0);
    if (std::abs(gain) < 1.96 * std::sqrt(frames * MeanSquare(gains))) return;
    mFit.follows = gain > 0 ? LagFollows::kExposure : LagFollows::kShorter;
    if (gain < 0) return;
    mFit.axes = std::move(*other);
    mFit.windows = std::move(byExposure);
  }

  // Compares the fitted lag with those of the search, and with the library's.
  void Compare() {
    for (std::size_t axis = 0; axis < 2; ++axis) {
      mLagsUs.push_back(mFit.axes[axis].at[kLag]);
      if (!mFit.refused) mFit.differences[axis] = Axis(axis).DifferenceOf(mFit.axes[axis].at);
    }
    std::sort(mLagsUs.begin(), mLagsUs.end());
    for (double const lagUs : mLagsUs) {
      Parameters x = mFit.axes[0].at;
      Parameters y = mFit.axes[1].at;
      x[kLag] = y[kLag] = lagUs;
      auto const ofX = Axis(0).TryLag(x, kFewestFrames / 2);
      auto const ofY = Axis(1).TryLag(y, kFewestFrames / 2);
      if (ofX && ofY) mFit.search.push_back({lagUs, {ofX->share, ofY->share}});
    }
  }

  HallSignal const& mHall;
  std::vector<double> mLagsUs;  // of the search
  ReferenceFit mFit;
};

}  // namespace

ReferenceFit FitReference(std::vector<HallSample> const& samples, std::vector<ReferenceFrame> const& frames,
                          FitOptions const& options) {
  try {
    if (frames.empty()) Refuse("not_this_recording", "expected frames of the recording, found none of them");
    bool const hasTimes = std::any_of(samples.begin(), samples.end(),
                                      [&](auto const& sample) { return sample.timeNs != samples.front().timeNs; });
    if (!hasTimes) Refuse("too_few_samples", "expected samples at different times, found none");
    HallSignal const hall(samples);
    if (hall.MedianIntervalUs() > kLongestIntervalUs) {
      Refuse("too_few_samples", "expected a sample every {:.0f} us, found one every {:.0f} us", kLongestIntervalUs,
             hall.MedianIntervalUs());
    }
    return Fitting(hall, frames, options).Run();
  } catch (Cause const& refusal) {
    ReferenceFit fit;
    fit.leftOut = frames.size();
    fit.refused = refusal;
    return fit;
  }
}

}  // namespace shadingctl
