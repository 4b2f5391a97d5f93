#include "tests/shadingctl/SickSession.h"

#include <cmath>
#include <cstdio>

namespace shadingctl {
namespace {

constexpr std::int64_t kFirstFrameNs = 1000000000000;
constexpr double kTwoPi = 6.283185307179586;

double Swing(double seconds, double fast, double slow) {
  return 20 * std::sin(kTwoPi * fast * seconds) + 30 * std::sin(kTwoPi * slow * seconds + 1);
}

}  // namespace

SessionPlan Plan(double hallRateHz, double frameRateHz, std::int64_t exposureUs, std::int64_t readoutUs) {
  SessionPlan plan;
  plan.hallRateHz = hallRateHz;
  plan.frameRateHz = frameRateHz;
  plan.exposureUs = exposureUs;
  plan.readoutUs = readoutUs;
  plan.deliveryUs = readoutUs + 1500;
  return plan;
}

SickSession HealthySession(SessionPlan const& plan) {
  SickSession session;
  std::int64_t sample = -std::llround(plan.hallRateHz / 2);
  for (std::uint32_t i = 0; i < plan.frames; ++i) {
    std::int64_t const timeNs = kFirstFrameNs + std::llround(i * 1e9 / plan.frameRateHz);
    session.frames.push_back({i + 1, timeNs, plan.exposureUs * 1000, plan.readoutUs * 1000});
    for (;; ++sample) {
      double const seconds = static_cast<double>(sample) / plan.hallRateHz;
      std::int64_t const takenNs = kFirstFrameNs + std::llround(seconds * 1e9);
      if (takenNs > timeNs + plan.deliveryUs * 1000) break;
      session.samples.push_back({i + 1, takenNs, Swing(seconds, 2.3, 0.71), Swing(seconds, 1.9, 0.83)});
    }
  }
  return session;
}

void SickSession::Write(TemporaryDirectory const& directory) const {
  std::string text = "frame,timestamp_ns,exposure_ns,rolling_shutter_ns\n";
  for (Frame const& frame : frames) {
    text += std::to_string(frame.number) + "," + std::to_string(frame.timeNs) + "," + std::to_string(frame.exposureNs) +
            "," + std::to_string(frame.readoutNs) + "\n";
  }
  directory.Write("frames.csv", text);
  text = "frame,timestamp_ns,hall_x,hall_y\n";
  for (Sample const& sample : samples) {
    char line[128];
    std::snprintf(line, sizeof line, "%u,%lld,%.6f,%.6f\n", sample.frame, static_cast<long long>(sample.timeNs),
                  sample.x, sample.y);
    text += line;
  }
  directory.Write("hall.csv", text);
}

}  // namespace shadingctl
