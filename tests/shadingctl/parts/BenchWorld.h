// Sessions at a bench whose truth is known, and how often a fit finds it. Lens and image come from sines in closed
// form, not from the fit's own curve.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "tools/shadingctl/fit/LagFit.h"

namespace shadingctl {

// What moves one axis of the image: gains of the lens's two axes.
struct Gains {
  double x = 0;
  double y = 0;
};

struct BenchTruth {
  std::string name;
  double slope = 0.5432;  // of the lag over the shorter one of exposure and readout
  double interceptUs = 166;
  std::string verdict = "agrees";
  std::string diagnosis;  // codes with a blank between them
  std::string follows = "cannot_tell";
  Gains imageX = {1, 0};
  Gains imageY = {0, 1};
  double hallHz = 1000;
  double noise = 0.2;  // of the image; it moves by about 20
  double exposureFromUs = 2000;
  double exposureToUs = 11000;
  double readoutUs = 12000;
  double frameUs = 16667;
  int frames = 300;
  double motion = 1;

  bool followsExposure = false;  // the lag's slope is one over the exposure, not the shorter time
  double risesWithTime = 0;      // the exposure, once, by this power of time; 0: it is swept
  double axesApartUs = 0;        // lag of x, less that of y
  double driftPpm = 0;           // of the lag with time
  double trend = 0;              // of the image, from the first frame to the last
  double bend = 0;               // by which the trend's ends stand above its middle
  double curvature = 0;          // of the image over what the gains make of the lens, squared
  double clip = 0;               // the samples end at plus and minus this
  double step = 0;               // of the samples
  double jitterUs = 40;          // of their times
  double lost = 0;               // share of 20 ms without samples
  double outliers = 0;           // share of the frames that are off by 50
  double zeros = 0;              // share of the frames whose target was lost and written as 0
  double correlation = 0;        // of the errors of neighbouring frames
  bool heavyTails = false;       // errors of Student's distribution with three degrees
  bool isOther = false;          // the reference is that of another session
};

struct BenchData {
  std::vector<HallSample> samples;
  std::vector<ReferenceFrame> frames;
  double centerX = 0;  // what the samples say on average
  double centerY = 0;
};

BenchData MakeBench(BenchTruth const& truth, unsigned seed);

constexpr char const* kBenchQuantities[] = {"lag",       "slope", "intercept", "gain", "cross-talk",
                                            "curvature", "trend", "bend",      "drift"};

// In how many sessions each quantity ("x lag") lay inside its interval and each verdict, refusal and diagnosis was
// given; of how many each was told at all.
struct BenchScore {
  std::map<std::string, int> held;
  std::map<std::string, int> told;
  std::map<std::string, int> verdicts;   // with the codes of refusals
  std::map<std::string, int> diagnoses;  // all codes of a session, with a blank between them
  std::map<std::string, int> follows;    // what the lag was told to follow
};

BenchScore ScoreBench(BenchTruth const& truth, unsigned firstSeed, unsigned lastSeed);

// The verdict, with the code of a refusal in brackets behind it; the codes of the causes, with blanks between.
std::string VerdictCode(ReferenceFit const& fit);
std::string DiagnosisCodes(ReferenceFit const& fit);

std::vector<BenchTruth> BenchKinds();

// What cannot tell a lag.
struct UselessBench {
  char const* code;
  char const* figure;  // of the refusal's text
  bool hasLag;         // what was found at the best lag is told
  BenchData data;
};
std::vector<UselessBench> UselessBenches();

}  // namespace shadingctl
