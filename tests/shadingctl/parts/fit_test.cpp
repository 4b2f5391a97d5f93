// Fits sessions whose truth is known. Lens and image come from sines in closed form, not from the fit's own curve.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <map>
#include <ostream>
#include <random>
#include <string>
#include <vector>

#include "hosting/UnusableInput.h"
#include "tools/shadingctl/fit/LagFit.h"

namespace shadingctl {
namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr int kFrames = 300;
constexpr double kFrameUs = 16667;
constexpr double kReadoutUs = 12000;
constexpr int kParts = 40;  // of a readout, over which the image is averaged

// What moves one axis of the image: gains of the lens's two axes.
struct Gains {
  double x = 0;
  double y = 0;
};

struct Truth {
  char const* name;
  double slope = 0;
  double interceptUs = 0;
  Gains imageX;
  Gains imageY;
  double hallHz = 1000;
  double noise = 0.2;  // of the image; it moves by about 20
  double exposureFromUs = 2000;
  double exposureToUs = 11000;
  double motion = 1;
  int frames = kFrames;
};

std::ostream& operator<<(std::ostream& stream, Truth const& truth) { return stream << truth.name; }

double Lens(int axis, double us, std::vector<double> const& phases) {
  struct Swing {
    double hertz;
    double amplitude;
  };
  static Swing const swings[2][4] = {{{0.8, 20}, {2.1, 11}, {4.7, 7}, {8.3, 4}},
                                     {{0.6, 18}, {2.7, 12}, {3.9, 8}, {7.1, 5}}};
  double sum = 0;
  for (std::size_t i = 0; i < 4; ++i) {
    Swing const& swing = swings[axis][i];
    sum +=
        swing.amplitude * std::sin(2 * kPi * (swing.hertz * us / 1e6 + phases[static_cast<std::size_t>(axis) * 4 + i]));
  }
  return sum;
}

struct Session {
  std::vector<HallSample> samples;
  std::vector<ReferenceFrame> frames;
  double meanShorterUs = 0;
};

Session MakeSession(Truth const& truth, unsigned seed) {
  std::mt19937 source(seed);
  std::normal_distribution<double> normal;
  std::uniform_real_distribution<double> uniform;
  std::vector<double> phases(8);
  for (double& phase : phases) phase = uniform(source);
  Session session;
  double const endUs = truth.frames * kFrameUs + 300000;
  for (double us = 0; us < endUs; us += 1e6 / truth.hallHz) {
    double const takenUs = us + 40 * (2 * uniform(source) - 1);
    session.samples.push_back({std::llround(takenUs * 1e3),
                               truth.motion * Lens(0, takenUs, phases) + 0.02 * normal(source),
                               truth.motion * Lens(1, takenUs, phases) + 0.02 * normal(source)});
  }
  for (int i = 0; i < truth.frames; ++i) {
    ReferenceFrame frame;
    frame.frame = static_cast<std::uint32_t>(i);
    double const startUs = 150000 + i * kFrameUs;
    frame.readoutStartNs = std::llround(startUs * 1e3);
    double const there = 0.5 - 0.5 * std::cos(2 * kPi * i / 90.0);
    frame.exposureUs = truth.exposureFromUs + there * (truth.exposureToUs - truth.exposureFromUs);
    frame.readoutUs = kReadoutUs;
    double const shorterUs = std::min(frame.exposureUs, kReadoutUs);
    session.meanShorterUs += shorterUs / truth.frames;
    double const lagUs = truth.slope * shorterUs + truth.interceptUs;
    double x = 0;
    double y = 0;
    for (int part = 0; part < kParts; ++part) {
      double const us = startUs - lagUs + (part + 0.5) / kParts * kReadoutUs;
      x += truth.motion * Lens(0, us, phases) / kParts;
      y += truth.motion * Lens(1, us, phases) / kParts;
    }
    frame.position = {700 + truth.imageX.x * x + truth.imageX.y * y + truth.noise * normal(source),
                      400 + truth.imageY.x * x + truth.imageY.y * y + truth.noise * normal(source)};
    session.frames.push_back(frame);
  }
  return session;
}

class KnownTruth : public testing::TestWithParam<Truth> {};

TEST_P(KnownTruth, LiesInsideTheIntervals) {
  Truth const& truth = GetParam();
  constexpr int kSessions = 100;
  constexpr int kFewest = 90;
  std::map<std::string, int> held;
  for (unsigned seed = 1; seed <= kSessions; ++seed) {
    Session const session = MakeSession(truth, seed);
    FitOptions options;
    options.resamples = 400;
    ReferenceFit const fit = FitReference(HallSignal(session.samples), session.frames, options);
    for (std::size_t i = 0; i < 2; ++i) {
      Gains const& gains = i == 0 ? truth.imageX : truth.imageY;
      AxisFit const& axis = fit.axes[i];
      bool const byY = std::abs(gains.y) > std::abs(gains.x);
      ASSERT_EQ(axis.isDrivenByY, byY);
      std::string const prefix = i == 0 ? "x " : "y ";
      double const gain = byY ? gains.y : gains.x;
      held[prefix + "gain"] += axis.gain.interval.Holds(gain);
      held[prefix + "cross-talk"] += axis.crossTalk.interval.Holds((byY ? gains.x : gains.y) / gain);
      held[prefix + "lag"] += axis.lagUs.interval.Holds(truth.slope * session.meanShorterUs + truth.interceptUs);
      ASSERT_EQ(axis.line.has_value(), truth.exposureFromUs != truth.exposureToUs);
      if (axis.line) {
        held[prefix + "slope"] += axis.line->slope.interval.Holds(truth.slope);
        held[prefix + "intercept"] += axis.line->interceptUs.interval.Holds(truth.interceptUs);
      }
      EXPECT_NEAR(axis.residual, truth.noise, 0.2 * truth.noise + 0.02);
    }
  }
  std::string row = truth.name;
  for (auto const& [quantity, sessions] : held) {
    EXPECT_GE(sessions, kFewest) << quantity;
    row += " | " + quantity + " " + std::to_string(sessions);
  }
  std::printf("%s\n", row.c_str());
}

INSTANTIATE_TEST_SUITE_P(Fit, KnownTruth,
                         testing::Values(Truth{"library's numbers", 0.5432, 166, {1, 0}, {0, 1}},
                                         Truth{"earlier image", 0.2, -9000, {0.8, 0.05}, {-0.03, 1.3}},
                                         Truth{"much later image", 0.9, 15000, {1, 0}, {0, 1}},
                                         Truth{"swapped axes", 0.5, 500, {0.02, 1.1}, {0.9, 0}},
                                         Truth{"mirrored axis", 0.5432, 1500, {-1, 0}, {0, 2.5}},
                                         Truth{"200 Hz", 0.5432, -1500, {1, 0.1}, {0, 1}, 200},
                                         Truth{"4 kHz", 0.3, 2500, {1, 0}, {0.1, -1}, 4000},
                                         Truth{"five times the noise", 0.5432, 3000, {1, 0}, {0, 1}, 1000, 1.0},
                                         Truth{"one exposure", 0, -4200, {1, 0}, {0, 1}, 1000, 0.2, 8000, 8000}),
                         [](auto const& row) {
                           std::string name = row.param.name;
                           name.erase(
                               std::remove_if(name.begin(), name.end(), [](char c) { return c == ' ' || c == '\''; }),
                               name.end());
                           return name;
                         });

struct Useless {
  char const* reason;
  Truth truth;
  std::function<void(Session&)> spoil;
};

TEST(Fit, RefusesWhatCannotTellALag) {
  Truth const good = {"", 0.5432, 166, {1, 0}, {0, 1}};
  Truth still = good;
  still.motion = 0.004;
  Truth brief = good;
  brief.frames = 99;
  Truth rare = good;
  rare.hallHz = 90;
  Truth late = good;
  late.interceptUs = 38000;
  auto const nothing = [](Session&) {};
  Useless const table[] = {
      {"too short: expected 100 frames", brief, nothing},
      {"samples too rare: expected one every 10000 us, found one every 11", rare, nothing},
      {"reference x: expected a lag within 38000 us", late, nothing},
      {"reference x: too little motion", still, nothing},
      {"no variation: reference y stands still", good,
       [](Session& session) {
         for (auto& frame : session.frames) frame.position[1] = 5;
       }},
      {"no variation: hall_x or hall_y stands still", good,
       [](Session& session) {
         for (auto& sample : session.samples) sample.y = 3;
       }},
      {"reference y: too little motion, not of this recording", good,
       [](Session& session) {
         for (auto& frame : session.frames) frame.position[1] = (frame.frame * 7919) % 101;
       }},
  };
  for (Useless const& row : table) {
    Session session = MakeSession(row.truth, 5);
    row.spoil(session);
    try {
      FitReference(HallSignal(session.samples), session.frames, {});
      ADD_FAILURE() << row.reason;
    } catch (hosting::UnusableInput const& unusable) {
      EXPECT_EQ(std::string(unusable.what()).rfind(row.reason, 0), 0U) << unusable.what();
    }
  }
}

TEST(Fit, LeavesOutFramesBesideAGapAndIsTheSameEveryTime) {
  Session session = MakeSession({"", 0.5, 1000, {1, 0}, {0, 1}}, 3);
  auto const isInGap = [](HallSample const& sample) {
    return sample.timeNs > 2000000000 && sample.timeNs < 2030000000;
  };
  session.samples.erase(std::remove_if(session.samples.begin(), session.samples.end(), isInGap), session.samples.end());
  ReferenceFit const fit = FitReference(HallSignal(session.samples), session.frames, {});
  // Readouts of 12 ms with 40 ms on either side that touch the 30 ms: they start within 122 ms, 16.667 ms apart.
  EXPECT_GE(fit.leftOut, 7U);
  EXPECT_LE(fit.leftOut, 8U);
  EXPECT_TRUE(fit.axes[0].line->interceptUs.interval.Holds(1000));
  std::reverse(session.samples.begin(), session.samples.end());
  ReferenceFit const again = FitReference(HallSignal(session.samples), session.frames, {});
  EXPECT_EQ(fit.axes[1].lagUs.interval.low, again.axes[1].lagUs.interval.low);
}

}  // namespace
}  // namespace shadingctl
