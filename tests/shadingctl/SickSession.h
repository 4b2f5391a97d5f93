// A session given sample by sample, so that each test adds exactly one fault.
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "tests/shadingctl/Program.h"

namespace shadingctl {

struct SickSession {
  struct Frame {
    std::uint32_t number = 0;
    std::int64_t timeNs = 0;
    std::int64_t exposureNs = 0;
    std::int64_t readoutNs = 0;
  };
  struct Sample {
    std::uint32_t frame = 0;  // with which it is delivered
    std::int64_t timeNs = 0;
    double x = 0;
    double y = 0;
  };

  std::vector<Frame> frames;
  std::vector<Sample> samples;

  void Write(TemporaryDirectory const& directory) const;
};

struct SessionPlan {
  double hallRateHz = 1000;
  double frameRateHz = 60;
  std::int64_t exposureUs = 10000;
  std::int64_t readoutUs = 16000;
  std::uint32_t frames = 200;
  std::int64_t deliveryUs = 17500;  // from a frame's timestamp: what was taken until then comes with it
};

// Its samples come 1.5 ms after each readout.
SessionPlan Plan(double hallRateHz, double frameRateHz, std::int64_t exposureUs, std::int64_t readoutUs = 16000);

// Regular frames and samples of a lens that swings in both axes. Its samples fill the history before the first frame,
// and come with the first frame.
SickSession HealthySession(SessionPlan const& plan = {});

struct Sickness {
  char const* name;
  char const* codes;                              // as findings_test.cpp writes them
  std::function<void(SickSession&)> infect = {};  // empty: the plan is sick already
  SessionPlan plan = {};
  char const* options = "";  // of replay
};
std::vector<Sickness> Sicknesses();

struct GeneratedSickness {
  char const* name;
  char const* options;  // of generate
  char const* codes;
  char const* edit = "";  // by sed, of the calls
};
// 500 Hz and 60 frames a second; calls have times.
std::vector<GeneratedSickness> GeneratedSicknesses();

}  // namespace shadingctl
