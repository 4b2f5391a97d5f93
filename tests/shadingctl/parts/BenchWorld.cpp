#include "tests/shadingctl/parts/BenchWorld.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <random>

namespace shadingctl {
namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr int kParts = 40;  // of a readout, over which the image is averaged
constexpr double kFirstUs = 150000;

using Phases = std::array<double, 8>;

double Lens(std::size_t axis, double us, Phases const& phases) {
  struct Swing {
    double hertz;
    double amplitude;
  };
  static Swing const swings[2][4] = {{{0.8, 20}, {2.1, 11}, {4.7, 7}, {8.3, 4}},
                                     {{0.6, 18}, {2.7, 12}, {3.9, 8}, {7.1, 5}}};
  double sum = 0;
  for (std::size_t i = 0; i < 4; ++i) {
    Swing const& swing = swings[axis][i];
    sum += swing.amplitude * std::sin(2 * kPi * (swing.hertz * us / 1e6 + phases[axis * 4 + i]));
  }
  return sum;
}

double TimeOf(BenchTruth const& truth, int frame) { return 2.0 * frame / (truth.frames - 1) - 1; }

double ExposureUs(BenchTruth const& truth, int frame) {
  double share = 0.5 - 0.5 * std::cos(2 * kPi * frame / 90.0);
  if (truth.risesWithTime > 0) share = std::pow((TimeOf(truth, frame) + 1) / 2, truth.risesWithTime);
  return truth.exposureFromUs + share * (truth.exposureToUs - truth.exposureFromUs);
}

double LagUs(BenchTruth const& truth, std::size_t axis, double byUs, double time) {
  double const spanUs = (truth.frames - 1) * truth.frameUs;
  return truth.slope * byUs + truth.interceptUs + (axis == 0 ? truth.axesApartUs : 0) +
         truth.driftPpm / 1e6 * time * spanUs / 2;
}

class Errors {
 public:
  Errors(BenchTruth const& truth, std::mt19937& source) : mTruth(truth), mSource(source) {
    mLast = {mNormal(source), mNormal(source)};
  }

  double Next(std::size_t axis) {
    double fresh = mNormal(mSource);
    if (mTruth.heavyTails) fresh = mStudent(mSource) / std::sqrt(3.0);
    double const rho = mTruth.correlation;
    mLast[axis] = rho * mLast[axis] + std::sqrt(1 - rho * rho) * fresh;
    return mTruth.noise * mLast[axis];
  }

 private:
  BenchTruth const& mTruth;
  std::mt19937& mSource;
  std::normal_distribution<double> mNormal;
  std::student_t_distribution<double> mStudent{3};
  std::array<double, 2> mLast{};
};

void MakeSamples(BenchTruth const& truth, Phases const& phases, std::mt19937& source, BenchData& data) {
  std::normal_distribution<double> normal;
  std::uniform_real_distribution<double> uniform;
  double const endUs = truth.frames * truth.frameUs + 2 * kFirstUs;
  double lostUntilUs = 0;
  for (double us = 0; us < endUs; us += 1e6 / truth.hallHz) {
    double const takenUs = us + truth.jitterUs * (2 * uniform(source) - 1);
    std::array<double, 2> lens{};
    for (std::size_t axis = 0; axis < 2; ++axis) {
      double& at = lens[axis];
      at = truth.motion * Lens(axis, takenUs, phases) + 0.02 * normal(source);
      if (truth.step > 0) at = truth.step * std::round(at / truth.step);
      if (truth.clip > 0) at = std::clamp(at, -truth.clip, truth.clip);
    }
    if (uniform(source) < truth.lost * 50 / truth.hallHz) lostUntilUs = us + 20000;
    if (us < lostUntilUs) continue;
    data.samples.push_back({std::llround(takenUs * 1e3), lens[0], lens[1]});
  }
  for (HallSample const& sample : data.samples) {
    data.centerX += sample.x / static_cast<double>(data.samples.size());
    data.centerY += sample.y / static_cast<double>(data.samples.size());
  }
}

double TruthOf(BenchTruth const& truth, ReferenceFit const& fit, BenchData const& data, std::size_t axis,
               Quantity quantity) {
  Gains const& gains = axis == 0 ? truth.imageX : truth.imageY;
  bool const byY = std::abs(gains.y) > std::abs(gains.x);
  double const steepness = 1 + 2 * truth.curvature * (gains.x * data.centerX + gains.y * data.centerY);
  switch (quantity) {
    case kLagUs: {
      double sumUs = 0;
      for (FrameWindow const& image : fit.windows.list) {
        int const frame = static_cast<int>(image.frame);
        double const exposureUs = ExposureUs(truth, frame);
        sumUs += LagUs(truth, axis, truth.followsExposure ? exposureUs : std::min(exposureUs, truth.readoutUs),
                       TimeOf(truth, frame));
      }
      return sumUs / static_cast<double>(fit.windows.list.size());
    }
    case kLagSlope:
      return truth.slope;
    case kLagInterceptUs:
      return truth.interceptUs + (axis == 0 ? truth.axesApartUs : 0);
    case kGain:
      return steepness * (byY ? gains.y : gains.x);
    case kCrossTalk:
      return byY ? gains.x / gains.y : gains.y / gains.x;
    case kGainCurvature:
      return truth.curvature / (steepness * steepness);  // of what the gain at the centre makes of the lens
    case kImageTrend:
      return truth.trend;
    case kTrendBend:
      return truth.bend;
    default:
      return truth.driftPpm;
  }
}

}  // namespace

BenchData MakeBench(BenchTruth const& truth, unsigned seed) {
  std::mt19937 source(seed);
  std::uniform_real_distribution<double> uniform;
  Phases phases{};
  for (double& phase : phases) phase = uniform(source);
  BenchData data;
  MakeSamples(truth, phases, source, data);
  if (truth.isOther) {
    for (double& phase : phases) phase = uniform(source);
  }
  Errors errors(truth, source);
  for (int i = 0; i < truth.frames; ++i) {
    ReferenceFrame frame;
    frame.frame = static_cast<std::uint32_t>(i);
    frame.exposureUs = ExposureUs(truth, i);
    frame.readoutUs = truth.readoutUs;
    double const endOfExposureUs = kFirstUs + i * truth.frameUs;
    double const startUs = endOfExposureUs;
    frame.startOfFrameNs = std::llround(startUs * 1e3);
    double const time = TimeOf(truth, i);
    double const byUs = truth.followsExposure ? frame.exposureUs : std::min(frame.exposureUs, truth.readoutUs);
    for (std::size_t axis = 0; axis < 2; ++axis) {
      Gains const& gains = axis == 0 ? truth.imageX : truth.imageY;
      double const fromUs = startUs - LagUs(truth, axis, byUs, time);
      double position = axis == 0 ? 700 : 400;
      for (int part = 0; part < kParts; ++part) {
        double const us = fromUs + (part + 0.5) / kParts * truth.readoutUs;
        double const moved = truth.motion * (gains.x * Lens(0, us, phases) + gains.y * Lens(1, us, phases));
        position += (moved + truth.curvature * moved * moved) / kParts;
      }
      position += truth.trend / 2 * time + truth.bend * time * time;
      frame.position[axis] = position + errors.Next(axis);
    }
    double const luck = uniform(source);
    if (luck < truth.outliers) frame.position[luck < truth.outliers / 2 ? 0 : 1] += uniform(source) < 0.5 ? 50 : -50;
    if (luck < truth.zeros) frame.position = {0, 0};
    data.frames.push_back(frame);
  }
  return data;
}

std::string VerdictCode(ReferenceFit const& fit) {
  return VerdictOf(fit) + (fit.refused ? std::string(" (") + fit.refused->code + ")" : "");
}

std::string DiagnosisCodes(ReferenceFit const& fit) {
  std::string codes;
  for (Cause const& cause : DiagnosisOf(fit)) codes += (codes.empty() ? "" : " ") + std::string(cause.code);
  return codes;
}

BenchScore ScoreBench(BenchTruth const& truth, unsigned firstSeed, unsigned lastSeed) {
  BenchScore score;
  for (unsigned seed = firstSeed; seed <= lastSeed; ++seed) {
    BenchData const data = MakeBench(truth, seed);
    ReferenceFit const fit = FitReference(data.samples, data.frames, {});
    ++score.verdicts[VerdictCode(fit)];
    if (fit.refused) continue;
    ++score.diagnoses[DiagnosisCodes(fit)];
    ++score.follows[fit.follows == LagFollows::kExposure  ? "exposure"
                    : fit.follows == LagFollows::kShorter ? "shorter"
                                                          : "cannot_tell"];
    for (std::size_t axis = 0; axis < 2; ++axis) {
      for (std::size_t quantity = 0; quantity < kResidual; ++quantity) {
        auto const estimate = EstimateOf(fit, axis, static_cast<Quantity>(quantity));
        if (!estimate) continue;
        double expected = TruthOf(truth, fit, data, axis, static_cast<Quantity>(quantity));
        if (quantity == kGainCurvature) {
          // The fit gives it by the RMS of the image's motion.
          double squares = 0;
          auto const& tangents = fit.axes[axis].tangents;
          for (Tangent const& tangent : tangents)
            squares += tangent.change[kCurvature] / static_cast<double>(tangents.size());
          expected *= 2 * std::sqrt(squares);
        }
        std::string const name = std::string(axis == 0 ? "x " : "y ") + kBenchQuantities[quantity];
        ++score.told[name];
        score.held[name] += std::abs(estimate->value - expected) <= *estimate->half;
      }
    }
  }
  return score;
}

std::vector<BenchTruth> BenchKinds() {
  std::vector<BenchTruth> kinds;
  auto const add = [&](char const* name, char const* verdict, char const* diagnosis, auto const& set) {
    BenchTruth truth;
    truth.name = name;
    truth.verdict = verdict;
    truth.diagnosis = diagnosis;
    set(truth);
    kinds.push_back(truth);
  };
  auto const ideal = [](BenchTruth& t) { t.slope = -0.5, t.interceptUs = 0; };
  add("library's numbers", "agrees", "", [](BenchTruth&) {});
  add("ideal phone", "differs", "stamped_end", ideal);
  add("stamped at the middle", "differs", "stamped_middle", [](BenchTruth& t) { t.slope = -1, t.interceptUs = 0; });
  add("stamped at the start", "differs", "stamped_start", [](BenchTruth& t) { t.slope = -1.5, t.interceptUs = 0; });
  add("stamped at the readout's end", "differs", "stamped_readout_end",
      [](BenchTruth& t) { t.slope = -0.5, t.interceptUs = t.readoutUs; });
  add("ideal, long exposures", "differs", "stamped_end", [&](BenchTruth& t) {
    t.follows = "exposure", ideal(t), t.exposureToUs = 24000, t.frameUs = 25000, t.followsExposure = true;
  });
  add("library's, mostly long exposures", "agrees", "", [](BenchTruth& t) {
    t.exposureToUs = 60000, t.frameUs = 66667;
    t.follows = "shorter";
  });
  add("library's, long exposures", "agrees", "",
      [](BenchTruth& t) { t.follows = "shorter", t.exposureToUs = 24000, t.frameUs = 25000; });
  add("clock 12 ms off", "differs", "clock_constant", [](BenchTruth& t) { t.interceptUs -= 12000; });
  add("clock 400 us off", "differs", "clock_constant", [](BenchTruth& t) { t.interceptUs += 400; });
  add("frames counted one off", "differs", "frame_numbers clock_constant",
      [](BenchTruth& t) { t.interceptUs += t.frameUs; });
  add("frames counted two off, ideal", "differs", "stamped_end frame_numbers clock_constant",
      [&](BenchTruth& t) { ideal(t), t.interceptUs -= 2 * t.frameUs; });
  add("1 % off by 50", "agrees", "", [](BenchTruth& t) { t.outliers = 0.01; });
  add("5 % off by 50", "agrees", "", [](BenchTruth& t) { t.outliers = 0.05; });
  add("20 % off by 50", "agrees", "", [](BenchTruth& t) { t.outliers = 0.2; });
  add("3 % lost, written as 0", "agrees", "", [](BenchTruth& t) { t.zeros = 0.03; });
  add("35 % lost, written as 0", "cannot_tell (outliers)", "", [](BenchTruth& t) { t.zeros = 0.35; });
  add("errors correlated by 0.9", "agrees", "", [](BenchTruth& t) { t.correlation = 0.9, t.noise = 1; });
  add("errors correlated by 0.98", "agrees", "", [](BenchTruth& t) { t.correlation = 0.98, t.noise = 1; });
  add("heavy tails", "agrees", "", [](BenchTruth& t) { t.heavyTails = true; });
  add("camera drifts", "agrees", "", [](BenchTruth& t) { t.trend = 30, t.bend = -8; });
  add("curved gain", "agrees", "curved", [](BenchTruth& t) { t.curvature = 0.004; });
  add("clipped samples", "agrees", "clipped", [](BenchTruth& t) { t.clip = 25, t.frames = 600; });
  add("clock drifts by 200 ppm", "agrees", "drift", [](BenchTruth& t) { t.driftPpm = 200, t.frames = 600; });
  add("drift, exposure rises with time", "agrees", "", [](BenchTruth& t) { t.driftPpm = 200, t.risesWithTime = 1; });
  add("exposure rises with time, squared", "agrees", "", [](BenchTruth& t) { t.risesWithTime = 2; });
  add("outliers, trend and drift", "differs", "stamped_end drift",
      [&](BenchTruth& t) { ideal(t), t.outliers = 0.05, t.trend = 20, t.bend = 5, t.driftPpm = -150, t.frames = 600; });
  add("axes 800 us apart", "differs", "axes_differ", [](BenchTruth& t) { t.axesApartUs = 800; });
  add("swapped axes", "agrees", "", [](BenchTruth& t) { t.imageX = {0.02, 1.1}, t.imageY = {0.9, 0}; });
  add("mirrored, other scale", "agrees", "", [](BenchTruth& t) { t.imageX = {-1, 0}, t.imageY = {0, 2.5}; });
  add("turned by 40 degrees", "agrees", "", [](BenchTruth& t) { t.imageX = {0.77, 0.64}, t.imageY = {-0.64, 0.77}; });
  add("200 Hz", "agrees", "", [](BenchTruth& t) { t.hallHz = 200; });
  add("4 kHz out of order", "agrees", "", [](BenchTruth& t) { t.hallHz = 4000, t.jitterUs = 300; });
  add("coarse samples", "agrees", "", [](BenchTruth& t) { t.step = 1; });
  add("samples lost", "agrees", "", [](BenchTruth& t) { t.lost = 0.03; });
  add("three times the noise", "agrees", "", [](BenchTruth& t) { t.noise = 0.6; });
  add("thirty times the noise", "cannot_tell", "", [](BenchTruth& t) { t.noise = 6; });
  add("one exposure", "agrees", "", [](BenchTruth& t) { t.exposureFromUs = t.exposureToUs = 8000; });
  add("one exposure, clock 3 ms off", "differs", "",
      [](BenchTruth& t) { t.exposureFromUs = t.exposureToUs = 8000, t.interceptUs -= 3000; });
  add("120 frames", "agrees", "", [](BenchTruth& t) { t.frames = 120; });
  add("30 frames a second", "agrees", "",
      [](BenchTruth& t) { t.frameUs = 33333, t.readoutUs = 20000, t.exposureToUs = 19000; });
  add("other recording", "cannot_tell (not_this_recording)", "", [](BenchTruth& t) { t.isOther = true; });
  add("lens hardly moves", "cannot_tell (too_little_motion)", "", [](BenchTruth& t) { t.motion = 0.004; });
  return kinds;
}

std::vector<UselessBench> UselessBenches() {
  std::vector<UselessBench> all;
  auto const made = [&](char const* code, char const* figure, bool hasLag, auto const& set) {
    BenchTruth truth;
    set(truth);
    all.push_back({code, figure, hasLag, MakeBench(truth, 5)});
  };
  auto const spoiled = [&](char const* code, bool hasLag, auto const& spoil) {
    all.push_back({code, "", hasLag, MakeBench({}, 5)});
    spoil(all.back().data);
  };
  made("too_few_frames", "expected 100 frames of the reference with samples all around them, found 99,", false,
       [](BenchTruth& t) { t.frames = 99; });
  made("too_few_samples", "every 10000 us, found one every 11", false, [](BenchTruth& t) { t.hallHz = 90; });
  made("search_edge", "within 7", true, [](BenchTruth& t) { t.interceptUs = 69000; });
  made("clipped", "", false, [](BenchTruth& t) { t.clip = 4; });
  spoiled("too_few_samples", false, [](BenchData& data) { data.samples.resize(1); });
  spoiled("not_this_recording", false, [](BenchData& data) { data.frames.clear(); });
  spoiled("too_little_motion", false, [](BenchData& data) {
    for (auto& frame : data.frames) frame.position[1] = 5;
  });
  spoiled("too_little_motion", false, [](BenchData& data) {
    for (auto& sample : data.samples) sample.y = 3;
  });
  spoiled("too_little_motion", true, [](BenchData& data) {
    for (auto& frame : data.frames) frame.position[1] = (frame.frame * 7919) % 101;
  });
  return all;
}

}  // namespace shadingctl
