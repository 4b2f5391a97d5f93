#include "tools/shadingctl/fit/LagFit.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <random>

#include "hosting/LibraryNumbers.h"
#include "hosting/UnusableInput.h"
#include "tools/shadingctl/fit/ImageAxis.h"
#include "tools/shadingctl/fit/LeastSquares.h"

namespace shadingctl {
namespace {

constexpr std::size_t kFewestFrames = 100;     // fewer give no 20 blocks, on which the intervals rest
constexpr double kLongestIntervalUs = 10000;   // between samples: 100 Hz, several of them in a swing of the hand
constexpr double kLeastSpreadUs = 500;         // standard deviation of exposures from which a slope can be told
constexpr double kMostResidualShare = 0.5;     // above it, the image does not follow the lens
constexpr double kWidestLagIntervalUs = 4000;  // wider tells nothing beside a shift of some ms
constexpr std::size_t kGroups = 10;            // of frames, for a picture
constexpr double kNormalQuantile = 1.96;       // 95 % lie within so many deviations
constexpr double kGridUs = 2000;               // of the search: the hand's fastest swings last 80 ms

[[noreturn]] void Refuse(std::string const& reason) { throw hosting::UnusableInput(reason); }

// The best lag of a grid from end to end; `searched` gets all of them.
Parameters Search(ImageAxis const& axis, char name, double searchUs, double slope, double motion, std::size_t frames,
                  std::vector<SearchedLag>& searched) {
  auto const residualOf = [frames](double squares) {
    return std::sqrt(std::max(squares, 0.0) / static_cast<double>(frames));
  };
  std::optional<std::pair<Parameters, double>> best;
  for (double lagUs = -searchUs; lagUs <= searchUs; lagUs += kGridUs) {
    auto found = axis.At(lagUs, slope);
    if (!found) Refuse("no variation: hall_x or hall_y stands still, or both move as one");
    if (!best || found->second < best->second) best = found;
    searched.push_back({lagUs, residualOf(found->second) / motion});
  }
  double const residual = residualOf(best->second);
  if (residual > kMostResidualShare * motion) {
    Refuse(
        fmt::format("reference {}: too little motion, not of this recording, or a lag beyond the search: expected "
                    "at most {:.0f} % of the image's motion unexplained, found {:.0f} % at the best lag",
                    name, 100 * kMostResidualShare, 100 * residual / motion));
  }
  if (std::abs(best->first[kLag]) > searchUs - kGridUs) {
    Refuse(fmt::format("reference {}: expected a lag within {:.0f} us, found it at the end of the search", name,
                       searchUs - kGridUs));
  }
  return best->first;
}

// The middle 95 % of the values.
Estimate EstimateOf(double value, std::vector<double>& drawn) {
  std::sort(drawn.begin(), drawn.end());
  auto const at = [&](double share) {
    return drawn[static_cast<std::size_t>(std::lround(share * static_cast<double>(drawn.size() - 1)))];
  };
  return {value, {at(0.025), at(0.975)}};
}

// Parameters that the frames would have given, had others of the same kind been recorded: blocks of them are drawn with
// replacement, and one step is taken from the parameters of all. What a fit leaves over is smaller than the true
// errors, and few blocks make long tails: deviations are widened by the blocks' mean leverage (as the jackknife does),
// and by Student's quantile over the normal one, approximately.
std::vector<Parameters> Resample(std::vector<Moments> const& blocks, Parameters const& at, std::size_t count,
                                 std::uint32_t resamples) {
  std::mt19937_64 source(1);  // always the same
  auto const number = static_cast<double>(blocks.size());
  double const freedom = number - static_cast<double>(count);
  double const widening = number / freedom * (1 + 1.21 / freedom);  // t(0.975) is about 1.96 + 2.37 / freedom
  std::vector<Parameters> drawn;
  while (drawn.size() < resamples) {
    Moments sum;
    for (std::size_t i = 0; i < blocks.size(); ++i) sum.Add(blocks[source() % blocks.size()]);
    auto const change = Solve(sum, count);
    if (!change) Refuse("too short: parts of the recording alone cannot tell the gains and the lag apart");
    Parameters resampled = at;
    for (std::size_t i = 0; i < kParameters; ++i) resampled[i] += widening * (*change)[i];
    drawn.push_back(resampled);
  }
  return drawn;
}

template <class Quantity>
Estimate Spread(Parameters const& at, std::vector<Parameters> const& drawn, Quantity const& quantity) {
  std::vector<double> values;
  values.reserve(drawn.size());
  for (Parameters const& parameters : drawn) values.push_back(quantity(parameters));
  return EstimateOf(quantity(at), values);
}

double SpreadOf(std::vector<Readout> const& readouts, std::size_t axis) {
  double sum = 0;
  double squares = 0;
  auto const count = static_cast<double>(readouts.size());
  for (Readout const& readout : readouts) sum += readout.position[axis];
  for (Readout const& readout : readouts) squares += std::pow(readout.position[axis] - sum / count, 2);
  return std::sqrt(squares / count);
}

// Groups of as many frames each, from the shortest exposures to the longest.
std::vector<GroupLag> GroupsOf(std::vector<Readout> const& readouts, std::vector<Tangent> const& tangents,
                               std::size_t index, Parameters const& best, double meanShorterUs, double residual) {
  std::vector<std::size_t> order(readouts.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  std::stable_sort(order.begin(), order.end(),
                   [&](std::size_t a, std::size_t b) { return readouts[a].shorterUs < readouts[b].shorterUs; });
  std::vector<GroupLag> groups;
  for (std::size_t group = 0; group < kGroups; ++group) {
    std::size_t const first = group * order.size() / kGroups;
    std::size_t const end = (group + 1) * order.size() / kGroups;
    double shorterUs = 0;
    double squares = 0;
    double product = 0;
    for (std::size_t i = first; i < end; ++i) {
      Readout const& readout = readouts[order[i]];
      Tangent const& tangent = tangents[order[i]];
      shorterUs += readout.shorterUs / static_cast<double>(end - first);
      squares += tangent.byLag * tangent.byLag;
      product += tangent.byLag * (readout.position[index] - tangent.position);
    }
    groups.push_back({meanShorterUs + shorterUs, std::nullopt});
    if (!(squares > 0)) continue;
    double const lagUs = best[kLag] + best[kSlope] * shorterUs + product / squares;
    double const halfUs = kNormalQuantile * residual / std::sqrt(squares);
    groups.back().lagUs = Estimate{lagUs, {lagUs - halfUs, lagUs + halfUs}};
  }
  return groups;
}

AxisFit FitAxis(HallSignal const& hall, std::vector<Readout> const& readouts, std::size_t index, double meanShorterUs,
                bool hasSlope, FitOptions const& options, std::vector<FittedImage>& images) {
  char const name = index == 0 ? 'x' : 'y';
  double const motion = SpreadOf(readouts, index);
  if (!(motion > 0)) Refuse(fmt::format("no variation: reference {} stands still", name));
  std::size_t const count = hasSlope ? kParameters : kSlope;
  ImageAxis const axis(hall, readouts, index, count);
  AxisFit fit;
  Parameters const start =
      Search(axis, name, options.searchUs, hasSlope ? hosting::kOffsetFactor : 0, motion, readouts.size(), fit.search);
  auto const best = axis.Refine(start);
  bool const isWithin = best && std::abs((*best)[kLag] - start[kLag]) < 2 * kGridUs;
  if (!isWithin) Refuse(fmt::format("reference {}: too little motion: no lag fits better than its neighbours", name));

  std::vector<Moments> const blocks = axis.Blocks(*best);
  double squares = 0;
  for (Moments const& block : blocks) squares += block.squares;
  fit.residual = std::sqrt(squares / static_cast<double>(readouts.size()));
  fit.residualShare = fit.residual / motion;
  std::vector<Parameters> const drawn = Resample(blocks, *best, count, options.resamples);
  fit.lagUs = Spread(*best, drawn, [](Parameters const& p) { return p[kLag]; });
  double const width = fit.lagUs.interval.high - fit.lagUs.interval.low;
  if (width > kWidestLagIntervalUs) {
    Refuse(
        fmt::format("reference {}: too little motion or too short: the lag can lie anywhere within {:.0f} us, expected "
                    "at most {:.0f} us",
                    name, width, kWidestLagIntervalUs));
  }
  fit.isDrivenByY = std::abs((*best)[kGainY]) > std::abs((*best)[kGainX]);
  std::size_t const driving = fit.isDrivenByY ? kGainY : kGainX;
  std::size_t const other = fit.isDrivenByY ? kGainX : kGainY;
  fit.gain = Spread(*best, drawn, [driving](Parameters const& p) { return p[driving]; });
  fit.crossTalk = Spread(*best, drawn, [driving, other](Parameters const& p) { return p[other] / p[driving]; });
  std::vector<Tangent> const tangents = axis.Tangents(*best);
  for (std::size_t i = 0; i < images.size(); ++i) images[i].fitted[index] = tangents[i].position;
  if (hasSlope) {
    fit.groups = GroupsOf(readouts, tangents, index, *best, meanShorterUs, fit.residual);
    fit.line = LagLine{
        Spread(*best, drawn, [](Parameters const& p) { return p[kSlope]; }),
        Spread(*best, drawn, [meanShorterUs](Parameters const& p) { return p[kLag] - p[kSlope] * meanShorterUs; })};
  }
  return fit;
}

}  // namespace

ReferenceFit FitReference(HallSignal const& hall, std::vector<ReferenceFrame> const& frames,
                          FitOptions const& options) {
  if (hall.MedianIntervalUs() > kLongestIntervalUs) {
    Refuse(fmt::format("samples too rare: expected one every {:.0f} us, found one every {:.0f} us", kLongestIntervalUs,
                       hall.MedianIntervalUs()));
  }
  std::vector<Readout> readouts;
  ReferenceFit fit;
  for (ReferenceFrame const& frame : frames) {
    double const startUs = static_cast<double>(frame.readoutStartNs - hall.FirstNs()) / 1e3;
    double const endUs = startUs + frame.readoutUs;
    bool const isUsable = frame.readoutUs > 0 && hall.Covers(startUs - options.searchUs, endUs + options.searchUs);
    if (!isUsable) continue;
    double const shorterUs = std::min(frame.exposureUs, frame.readoutUs);
    readouts.push_back({startUs, endUs, shorterUs, frame.position});
    fit.images.push_back({frame.frame, frame.position, {}});
    fit.shorterUs += shorterUs;
  }
  fit.frames = readouts.size();
  fit.leftOut = frames.size() - readouts.size();
  if (fit.frames < kFewestFrames) {
    Refuse(fmt::format("too short: expected {} frames of the reference with samples all around them, found {} of {}",
                       kFewestFrames, fit.frames, frames.size()));
  }
  fit.shorterUs /= static_cast<double>(fit.frames);
  double squares = 0;
  for (Readout& readout : readouts) {
    readout.shorterUs -= fit.shorterUs;
    squares += readout.shorterUs * readout.shorterUs;
  }
  bool const hasSlope = std::sqrt(squares / static_cast<double>(fit.frames)) >= kLeastSpreadUs;
  for (std::size_t i = 0; i < 2; ++i) {
    fit.axes[i] = FitAxis(hall, readouts, i, fit.shorterUs, hasSlope, options, fit.images);
  }
  return fit;
}

}  // namespace shadingctl
