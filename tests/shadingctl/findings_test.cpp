// Each fault of a session gives its finding, and a healthy session gives none.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/shadingctl/Program.h"
#include "tests/shadingctl/SickSession.h"

namespace shadingctl {
namespace {

using Json = nlohmann::json;
using Session = SickSession;

Json FindingsIn(Session const& session, std::string const& options = "") {
  TemporaryDirectory const directory;
  session.Write(directory);
  Outcome const outcome = RunTool("replay --format json " + options + " " + directory.Path());
  EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
  return Json::parse(outcome.out).at("findings");
}

std::string Codes(Json const& findings) {
  std::string codes;
  for (auto const& finding : findings) {
    codes += (codes.empty() ? "" : " ") + finding.at("code").get<std::string>() + ":" +
             finding.at("frames").at("count").dump();
  }
  return codes;
}

SessionPlan Plan(double hallRateHz, double frameRateHz, std::int64_t exposureUs, std::int64_t readoutUs = 16000) {
  SessionPlan plan;
  plan.hallRateHz = hallRateHz;
  plan.frameRateHz = frameRateHz;
  plan.exposureUs = exposureUs;
  plan.readoutUs = readoutUs;
  plan.deliveryUs = readoutUs + 1500;
  return plan;
}

SessionPlan Delivered(std::int64_t afterTimestampUs, SessionPlan plan) {
  plan.deliveryUs = afterTimestampUs;
  return plan;
}

void ForEachFrom(Session& session, std::uint32_t frame, std::function<void(Session::Sample&)> const& change) {
  for (auto& sample : session.samples) {
    if (sample.frame >= frame) change(sample);
  }
}

struct Sickness {
  char const* name;
  SessionPlan plan;
  std::function<void(Session&)> infect;  // empty: the plan is sick already
  char const* codes;                     // with the number of frames; 0: not about frames
};

std::ostream& operator<<(std::ostream& stream, Sickness const& sickness) { return stream << sickness.name; }

class SickSessions : public testing::TestWithParam<Sickness> {};

TEST_P(SickSessions, AreFoundOut) {
  Session session = HealthySession(GetParam().plan);
  if (GetParam().infect) GetParam().infect(session);
  EXPECT_EQ(Codes(FindingsIn(session)), GetParam().codes) << FindingsIn(session).dump(1);
}

INSTANTIATE_TEST_SUITE_P(
    All, SickSessions,
    testing::Values(
        Sickness{"Healthy", {}, {}, ""}, Sickness{"HealthyAtFourHundred", Plan(400, 60, 10000), {}, ""},
        Sickness{"HealthyAtThirtyFrames", Plan(1000, 30, 20000, 30000), {}, ""},
        Sickness{"SparseSamples", Plan(200, 59.7, 5000), {}, "sampling:80 carried:79"},
        Sickness{"LockedPhase", Plan(200, 50, 5000), {}, "sampling:200"},
        Sickness{"TooFewSamplesAFrame", Plan(200, 120, 4000, 8000), {}, "history:170 sampling:30 carried:10"},
        Sickness{"AlmostEnoughSamplesAFrame", Plan(199, 60, 5000), {}, "history:86 sampling:38 carried:37"},
        Sickness{"ExposureBeyondTheWindow", Plan(4000, 60, 10000), {}, "reach_backward:200"},
        Sickness{"Night", Delivered(60000, Plan(1000, 15, 60000)), {}, "reach_backward:200 long_exposure:200"},
        Sickness{"WindowShorterThanTheReadout", Plan(8000, 60, 1000), {}, "reach_forward:200"},
        Sickness{"ComputedTooSoon", Delivered(5000, Plan(1000, 60, 2000)), {}, "not_delivered:200"},
        Sickness{"SamplesBehind",
                 {},
                 [](Session& s) { ForEachFrom(s, 0, [](auto& sample) { sample.timeNs -= 2500000000; }); },
                 "clock_offset:200"},
        Sickness{"SamplesAhead",
                 {},
                 [](Session& s) { ForEachFrom(s, 0, [](auto& sample) { sample.timeNs += 2500000000; }); },
                 "clock_offset:200"},
        Sickness{"ClockJumps",
                 {},
                 [](Session& s) { ForEachFrom(s, 100, [](auto& sample) { sample.timeNs += 200000000; }); },
                 "clock_jump:1 carried:11 gaps:0"},
        Sickness{"Microseconds",
                 {},
                 [](Session& s) {
                   ForEachFrom(s, 0, [](auto& sample) { sample.timeNs /= 1000; });
                   for (auto& frame : s.frames) frame.timeNs /= 1000, frame.exposureNs /= 1000, frame.readoutNs /= 1000;
                 },
                 "units:0"},
        Sickness{"ExposuresInMicroseconds",
                 {},
                 [](Session& s) {
                   for (auto& frame : s.frames) frame.exposureNs /= 1000;
                 },
                 "units:0"},
        Sickness{"Locked",
                 {},
                 [](Session& s) { ForEachFrom(s, 0, [](auto& sample) { sample.x = 1, sample.y = -2; }); },
                 "still:0"},
        Sickness{"OnlyNoise",
                 {},
                 [](Session& s) {
                   unsigned state = 1;
                   ForEachFrom(s, 0, [&](auto& sample) {
                     for (double* axis : {&sample.x, &sample.y}) *axis = (state = state * 1103515245U + 12345U) / 4e9;
                   });
                 },
                 "still:0"},
        Sickness{
            "DeadAxis", {}, [](Session& s) { ForEachFrom(s, 0, [](auto& sample) { sample.y = 3; }); }, "dead_axis:0"},
        Sickness{"EndStop",
                 {},
                 [](Session& s) { ForEachFrom(s, 0, [](auto& sample) { sample.x = std::min(sample.x, 30.0); }); },
                 "end_stop:0"},
        Sickness{"Steps",
                 {},
                 [](Session& s) { ForEachFrom(s, 80, [](auto& sample) { sample.x += sample.frame < 82 ? 60 : 0; }); },
                 "steps:1"},
        Sickness{"LateBatches",
                 {},
                 [](Session& s) {
                   ForEachFrom(s, 100, [](auto& sample) {
                     if (sample.frame < 105) sample.frame = 105;
                   });
                 },
                 "not_delivered:4 batches:5"},
        Sickness{"LostBatches",
                 {},
                 [](Session& s) {
                   auto const isLost = [](auto const& sample) { return sample.frame >= 100 && sample.frame < 103; };
                   s.samples.erase(std::remove_if(s.samples.begin(), s.samples.end(), isLost), s.samples.end());
                 },
                 "not_delivered:2 carried:1 batches:3 gaps:0"},
        Sickness{"RepeatedSamples",
                 {},
                 [](Session& s) {
                   std::vector<Session::Sample> told;
                   for (auto const& sample : s.samples) {
                     bool const isFirst = !told.empty() && told.back().frame != sample.frame;
                     std::size_t const end = told.size();
                     for (std::size_t i = end - 3; isFirst && i < end; ++i) {
                       told.push_back(told[i]);
                       told.back().frame = sample.frame;
                       told.back().timeNs += 20000;
                     }
                     told.push_back(sample);
                   }
                   s.samples = told;
                 },
                 "repeated:199"},
        Sickness{"DiscardedBatch",
                 {},
                 [](Session& s) {
                   for (auto& sample : s.samples)
                     if (sample.frame == 100) sample.timeNs -= 50000000;
                 },
                 "discarded:0 gaps:0"},
        Sickness{"ModeSwitch",
                 {},
                 [](Session& s) {
                   for (auto& frame : s.frames)
                     if (frame.number >= 100) frame.readoutNs = 9000000;
                 },
                 "long_exposure:101 mode_switch:1"}),
    [](auto const& sickness) { return sickness.param.name; });

// The library tells windows and ends from level 4 on.
TEST(Findings, BelowLogLevelFourSayThatTheEndsAreNotTold) {
  Session const healthy = HealthySession();
  for (int level = 0; level <= 5; ++level) {
    std::string const codes = Codes(FindingsIn(healthy, "--log-level " + std::to_string(level)));
    EXPECT_EQ(codes, level < 4 ? "not_told:200" : "") << level;
  }
  EXPECT_EQ(Codes(FindingsIn(HealthySession(Plan(200, 59.7, 5000)), "--log-level 3")), "not_told:200 carried:79");
}

}  // namespace
}  // namespace shadingctl
