// Each fault of a session gives its finding, and a healthy session gives none.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
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

// Of each finding: severity, code, number of frames; "<" and the one that explains it; "@" and the hundredths of a
// second at which it begins where it is not about frames.
std::string Codes(Json const& findings) {
  std::string codes;
  for (auto const& finding : findings) {
    codes += (codes.empty() ? "" : " ") + finding.at("severity").get<std::string>().substr(0, 1) + "_" +
             finding.at("code").get<std::string>() + ":" + finding.at("frames").at("count").dump();
    if (finding.contains("explained_by")) codes += "<" + finding.at("explained_by").get<std::string>();
    auto const& intervals = finding.at("intervals");
    if (!finding.at("frames").at("first").empty() || intervals.empty()) continue;
    codes += "@" + std::to_string(std::lround(100 * intervals.at(0).at("from_s").get<double>()));
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

// The last sample that comes before those of the frame.
Session::Sample Before(Session const& session, std::uint32_t frame) {
  auto const first = std::find_if(session.samples.begin(), session.samples.end(),
                                  [&](Session::Sample const& sample) { return sample.frame >= frame; });
  return *(first - 1);
}

// A hand takes a phone from its tripod within 30 frames.
double Risen(std::uint32_t frame) { return std::clamp((static_cast<double>(frame) - 120) / 30, 0.01, 1.0); }

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
        Sickness{"SparseSamples", Plan(200, 59.7, 5000), {}, "l_sampling:80 n_carried:79<sampling"},
        Sickness{"LockedPhase", Plan(200, 50, 5000), {}, "l_sampling:200"},
        Sickness{
            "TooFewSamplesAFrame", Plan(200, 120, 4000, 8000), {}, "l_history:170 l_sampling:30 n_carried:10<history"},
        Sickness{
            "AlmostEnoughSamplesAFrame", Plan(199, 60, 5000), {}, "l_history:86 l_sampling:38 n_carried:37<history"},
        Sickness{"ExposureBeyondTheWindow", Plan(4000, 60, 10000), {}, "l_reach_backward:200"},
        Sickness{"Night", Delivered(60000, Plan(1000, 15, 60000)), {}, "l_reach_backward:200 n_long_exposure:200"},
        Sickness{"WindowShorterThanTheReadout", Plan(8000, 60, 1000), {}, "w_reach_forward:200"},
        Sickness{"ComputedTooSoon", Delivered(5000, Plan(1000, 60, 2000)), {}, "l_not_delivered:200"},
        Sickness{"SamplesBehind",
                 {},
                 [](Session& s) { ForEachFrom(s, 0, [](auto& sample) { sample.timeNs -= 2500000000; }); },
                 "w_clock_offset:200"},
        Sickness{"SamplesAhead",
                 {},
                 [](Session& s) { ForEachFrom(s, 0, [](auto& sample) { sample.timeNs += 2500000000; }); },
                 "w_clock_offset:200"},
        Sickness{"ClockJumps",
                 {},
                 [](Session& s) { ForEachFrom(s, 100, [](auto& sample) { sample.timeNs += 200000000; }); },
                 "w_clock_jump:1@165 n_carried:11<clock_jump n_gaps:12<clock_jump"},
        Sickness{"Microseconds",
                 {},
                 [](Session& s) {
                   ForEachFrom(s, 0, [](auto& sample) { sample.timeNs /= 1000; });
                   for (auto& frame : s.frames) frame.timeNs /= 1000, frame.exposureNs /= 1000, frame.readoutNs /= 1000;
                 },
                 "w_units:200"},
        Sickness{"ExposuresInMicroseconds",
                 {},
                 [](Session& s) {
                   for (auto& frame : s.frames) frame.exposureNs /= 1000;
                 },
                 "w_units:200"},
        Sickness{"Locked",
                 {},
                 [](Session& s) { ForEachFrom(s, 0, [](auto& sample) { sample.x = 1, sample.y = -2; }); },
                 "n_still:0"},
        Sickness{"OnlyNoise",
                 {},
                 [](Session& s) {
                   unsigned state = 1;
                   ForEachFrom(s, 0, [&](auto& sample) {
                     for (double* axis : {&sample.x, &sample.y}) *axis = (state = state * 1103515245U + 12345U) / 4e9;
                   });
                 },
                 "n_still:0"},
        Sickness{"DeadAxis",
                 {},
                 [](Session& s) { ForEachFrom(s, 0, [](auto& sample) { sample.y = 3; }); },
                 "w_dead_axis:200"},
        Sickness{"EndStop",
                 {},
                 [](Session& s) { ForEachFrom(s, 0, [](auto& sample) { sample.x = std::min(sample.x, 30.0); }); },
                 "n_end_stop:0"},
        Sickness{"Steps",
                 {},
                 [](Session& s) { ForEachFrom(s, 80, [](auto& sample) { sample.x += sample.frame < 82 ? 60 : 0; }); },
                 "w_steps:1@132"},
        Sickness{"LateBatches",
                 {},
                 [](Session& s) {
                   ForEachFrom(s, 100, [](auto& sample) {
                     if (sample.frame < 105) sample.frame = 105;
                   });
                 },
                 "l_batches:5 n_not_delivered:4<batches"},
        Sickness{"LostBatches",
                 {},
                 [](Session& s) {
                   auto const isLost = [](auto const& sample) { return sample.frame >= 100 && sample.frame < 103; };
                   s.samples.erase(std::remove_if(s.samples.begin(), s.samples.end(), isLost), s.samples.end());
                 },
                 "l_gaps:1 n_not_delivered:2<gaps n_carried:1<gaps n_batches:3<gaps"},
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
                 "n_repeated:199"},
        Sickness{"DiscardedBatch",
                 {},
                 [](Session& s) {
                   for (auto& sample : s.samples)
                     if (sample.frame == 100) sample.timeNs -= 50000000;
                 },
                 "l_discarded:1 n_gaps:1<discarded"},
        Sickness{"ModeSwitch",
                 {},
                 [](Session& s) {
                   for (auto& frame : s.frames)
                     if (frame.number >= 100) frame.readoutNs = 9000000;
                 },
                 "n_long_exposure:101 n_mode_switch:1"},
        // Samples from frame 100 on were taken from 1.651 s on: 1.5 ms after the readout of frame 99 at 1.633 s.
        Sickness{"FreezesWhileItMoves",
                 {},
                 [](Session& s) {
                   double const x = Before(s, 100).x;
                   double const y = Before(s, 100).y;
                   ForEachFrom(s, 100, [&](auto& sample) { sample.x = x, sample.y = y; });
                 },
                 "w_still:102@165"},
        Sickness{"OneAxisFreezes",
                 {},
                 [](Session& s) {
                   double const y = Before(s, 100).y;
                   ForEachFrom(s, 100, [&](auto& sample) { sample.y = y; });
                 },
                 "w_dead_axis:102@165"},
        Sickness{"AxesDrivenInTurn",
                 {},
                 [](Session& s) {
                   double const x = Before(s, 50).x;
                   double const y = Before(s, 100).y;
                   ForEachFrom(s, 50, [&](auto& sample) { sample.frame < 100 ? sample.x = x : sample.y = y; });
                 },
                 "n_dead_axis:0@82 n_steps:0<dead_axis@165"},
        Sickness{"ATripodBeforeAHand",
                 {},
                 [](Session& s) {
                   for (auto& sample : s.samples) sample.x *= Risen(sample.frame), sample.y *= Risen(sample.frame);
                 },
                 ""},
        Sickness{"OneSpikeInAHundred",
                 {},
                 [](Session& s) {
                   for (std::size_t i = 0; i < s.samples.size(); i += 100) s.samples[i].x += 1000;
                 },
                 "w_steps:46@0"},
        Sickness{"EverySixthSampleIsNew",
                 {},
                 [](Session& s) {
                   for (std::size_t i = 1; i < s.samples.size(); ++i) {
                     if (i % 6 != 0) s.samples[i].x = s.samples[i - 1].x, s.samples[i].y = s.samples[i - 1].y;
                   }
                 },
                 "w_held:180@-50"},
        Sickness{"ClockDriftsByTwoThousandPpm",
                 {},
                 [](Session& s) {
                   ForEachFrom(s, 0, [](auto& sample) { sample.timeNs += (sample.timeNs - 1000000000000) / 500; });
                 },
                 "w_clock_drift:200"},
        Sickness{"DeliveryJittersByFifteenMilliseconds", Delivered(40000, SessionPlan()),
                 [](Session& s) {
                   for (auto& sample : s.samples) sample.frame += sample.frame % 3 == 0 && sample.frame < 200 ? 1 : 0;
                 },
                 "n_batches:66"},
        Sickness{"EverySecondSampleIsNoLongerTaken",
                 {},
                 [](Session& s) {
                   auto const isLeftOut = [](auto const& sample) {
                     return sample.frame >= 100 && sample.timeNs / 1000000 % 2 == 0;
                   };
                   s.samples.erase(std::remove_if(s.samples.begin(), s.samples.end(), isLeftOut), s.samples.end());
                 },
                 "n_rate_change:0@150"},
        Sickness{"FrameTimesRepeat",
                 {},
                 [](Session& s) {
                   for (std::size_t i = 100; i < 110; ++i) s.frames[i].timeNs = s.frames[99].timeNs;
                 },
                 "w_frame_times:10"},
        Sickness{"NoExposures",
                 {},
                 [](Session& s) {
                   for (std::size_t i = 100; i < 110; ++i) s.frames[i].exposureNs = 0;
                 },
                 "w_no_exposure:10"},
        Sickness{"NoReadouts",
                 {},
                 [](Session& s) {
                   for (std::size_t i = 100; i < 110; ++i) s.frames[i].readoutNs = 0;
                 },
                 "l_no_readout:10 n_mode_switch:2<no_readout"}),
    [](auto const& sickness) { return sickness.param.name; });

struct Told {
  char const* name;
  char const* options;  // of generate
  char const* codes;
};

std::ostream& operator<<(std::ostream& stream, Told const& told) { return stream << told.name; }

class GeneratedSessions : public testing::TestWithParam<Told> {};

// 500 Hz and 60 frames a second; calls have times.
TEST_P(GeneratedSessions, AreToldByTheTimesOfTheirCalls) {
  TemporaryDirectory const directory;
  ASSERT_EQ(RunTool("generate --hall-rate 500 --late 0 --pause-us 0 --overlap 0 --drop 0 --exposure-us 5000 " +
                    (GetParam().options + (" " + directory.Path())))
                .exitCode,
            0);
  Json const findings = Json::parse(RunTool("replay --format json " + directory.Path()).out).at("findings");
  EXPECT_EQ(Codes(findings), GetParam().codes) << findings.dump(1);
}

INSTANTIATE_TEST_SUITE_P(
    All, GeneratedSessions,
    testing::Values(
        Told{"Healthy", "", ""}, Told{"HostIsLate", "--event host@-1:60000", ""},
        Told{"PlatformIsLate", "--event platform@-1:60000", "l_late_delivery:286 n_batches:2<late_delivery"},
        Told{"PlatformIsALittleLate", "--event platform@-1:10000 --event host@-1:10000", "n_late_delivery:0"},
        Told{"SamplesAreSecondsOld", "--clock-offset-us -2500000",
             "w_clock_offset:290 n_late_delivery:290<clock_offset"},
        Told{"SamplesAreAheadOfTheirCalls", "--clock-offset-us 4000", "w_clock_ahead:290"},
        Told{"ComputedFirst", "--event order@2", "l_call_order:180 n_not_delivered:180<call_order"},
        Told{"OneStreamForTwo", "--cameras 2 --event shared@-1", "w_same_samples:290 w_same_samples:290"},
        Told{"TwoStreamsForTwo", "--cameras 2", ""}),
    [](auto const& told) { return told.param.name; });

TEST(FailOn, NamesTheFindingAndItsPlace) {
  TemporaryDirectory const directory;
  ASSERT_EQ(
      RunTool("generate --late 0 --pause-us 0 --overlap 0 --drop 0 --event freeze@2 " + directory.Path()).exitCode, 0);
  struct {
    char const* names;
    int exitCode;
    char const* told;
  } const rows[] = {
      {"wrong", 1, "--fail-on wrong: expected no such finding, found still [from 1.999 s to "},
      {"gaps,still", 1, "--fail-on still: "},
      {"lost", 0, ""},
      {"stil", 2, "stil"},
  };
  for (auto const& row : rows) {
    Outcome const outcome = RunTool("replay --summary " + directory.Path() + " --fail-on " + row.names);
    EXPECT_EQ(outcome.exitCode, row.exitCode) << row.names;
    EXPECT_NE(outcome.err.find(row.told), std::string::npos) << outcome.err;
  }
}

// The library tells windows and ends from level 4 on.
TEST(Findings, BelowLogLevelFourSayThatTheEndsAreNotTold) {
  Session const healthy = HealthySession();
  for (int level = 0; level <= 5; ++level) {
    std::string const codes = Codes(FindingsIn(healthy, "--log-level " + std::to_string(level)));
    EXPECT_EQ(codes, level < 4 ? "n_not_told:200" : "") << level;
  }
  EXPECT_EQ(Codes(FindingsIn(HealthySession(Plan(200, 59.7, 5000)), "--log-level 3")), "w_carried:79 n_not_told:200");
}

}  // namespace
}  // namespace shadingctl
