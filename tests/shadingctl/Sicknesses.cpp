// Sessions with one fault each, and what is to be found in them.
#include <algorithm>
#include <limits>

#include "tests/shadingctl/SickSession.h"

namespace shadingctl {
namespace {

using Sample = SickSession::Sample;
using Frame = SickSession::Frame;
using Infection = std::function<void(SickSession&)>;

constexpr std::uint32_t kLast = std::numeric_limits<std::uint32_t>::max();

SessionPlan Delivered(std::int64_t afterTimestampUs, SessionPlan plan) {
  plan.deliveryUs = afterTimestampUs;
  return plan;
}

Infection Samples(std::function<void(Sample&)> const& change) {
  return [=](SickSession& session) { std::for_each(session.samples.begin(), session.samples.end(), change); };
}

// That come with these frames.
Infection Samples(std::uint32_t first, std::uint32_t last, std::function<void(Sample&)> const& change) {
  return Samples([=](Sample& sample) {
    if (sample.frame >= first && sample.frame <= last) change(sample);
  });
}

Infection Lost(std::function<bool(Sample const&)> const& isLost) {
  return [=](SickSession& session) {
    session.samples.erase(std::remove_if(session.samples.begin(), session.samples.end(), isLost),
                          session.samples.end());
  };
}

// The axis stays where it was before the samples of the first frame.
Infection Frozen(double Sample::*axis, std::uint32_t first, std::uint32_t last = kLast) {
  return [=](SickSession& session) {
    auto const end = std::find_if(session.samples.begin(), session.samples.end(),
                                  [&](Sample const& sample) { return sample.frame >= first; });
    double const place = (*(end - 1)).*axis;
    Samples(first, last, [&](Sample& sample) { sample.*axis = place; })(session);
  };
}

Infection Held(std::size_t count) {
  return [=](SickSession& session) {
    for (std::size_t i = 0; i < session.samples.size(); ++i) {
      session.samples[i].x = session.samples[i - i % count].x;
      session.samples[i].y = session.samples[i - i % count].y;
    }
  };
}

Infection Both(Infection const& one, Infection const& other) {
  return [=](SickSession& session) { one(session), other(session); };
}

Infection Frames(std::uint32_t first, std::uint32_t last, std::function<void(Frame&)> const& change) {
  return [=](SickSession& session) {
    for (Frame& frame : session.frames) {
      if (frame.number >= first && frame.number <= last) change(frame);
    }
  };
}

void Noise(SickSession& session) {
  unsigned state = 1;
  for (Sample& sample : session.samples) {
    for (double* axis : {&sample.x, &sample.y}) *axis = (state = state * 1103515245U + 12345U) / 4e9;
  }
}

// Every batch begins with the last three samples of the one before, 20 us later.
void Repetitions(SickSession& session) {
  std::vector<Sample> told;
  for (Sample const& sample : session.samples) {
    bool const isFirst = !told.empty() && told.back().frame != sample.frame;
    std::size_t const end = told.size();
    for (std::size_t i = end - 3; isFirst && i < end; ++i) {
      told.push_back(told[i]);
      told.back().frame = sample.frame;
      told.back().timeNs += 20000;
    }
    told.push_back(sample);
  }
  session.samples = told;
}

void Spikes(SickSession& session) {
  for (std::size_t i = 0; i < session.samples.size(); i += 100) session.samples[i].x += 1000;
}

// A hand takes a phone from its tripod within 30 frames.
double Risen(std::uint32_t frame) { return std::clamp((static_cast<double>(frame) - 120) / 30, 0.01, 1.0); }

}  // namespace

std::vector<Sickness> Sicknesses() {
  return {
      {"Healthy", ""},
      {"HealthyAtFourHundred", "", {}, Plan(400, 60, 10000)},
      {"HealthyAtThirtyFrames", "", {}, Plan(1000, 30, 20000, 30000)},
      {"SparseSamples", "l_sampling:80 n_carried:79<sampling", {}, Plan(200, 59.7, 5000)},
      {"LockedPhase", "l_sampling:200", {}, Plan(200, 50, 5000)},
      {"TooFewSamplesAFrame", "l_history:170 l_sampling:30 n_carried:10<history", {}, Plan(200, 120, 4000, 8000)},
      {"AlmostEnoughSamplesAFrame", "l_history:86 l_sampling:38 n_carried:37<history", {}, Plan(199, 60, 5000)},
      {"OneExposureBeyondTheWindow", "", Frames(100, 100, [](auto& frame) { frame.exposureNs = 12000000; }),
       Plan(4000, 60, 5000), "--reset-matched"},
      {"ExposureBeyondTheWindow", "l_reach_backward:200", {}, Plan(4000, 60, 10000)},
      {"Night", "l_reach_backward:200 n_long_exposure:200", {}, Delivered(60000, Plan(1000, 15, 60000))},
      {"WindowShorterThanTheReadout", "w_reach_forward:200", {}, Plan(8000, 60, 1000)},
      {"ComputedTooSoon", "l_not_delivered:200", {}, Delivered(5000, Plan(1000, 60, 2000))},
      {"SamplesBehind", "w_clock_offset:200", Samples([](auto& sample) { sample.timeNs -= 2500000000; })},
      {"SamplesAhead", "w_clock_offset:200", Samples([](auto& sample) { sample.timeNs += 2500000000; })},
      {"ClockJumps", "w_clock_jump:1@165 n_carried:11<clock_jump n_gaps:12<clock_jump",
       Samples(100, kLast, [](auto& sample) { sample.timeNs += 200000000; })},
      {"ClockJumpsTwice", "w_clock_jump:2@98 n_clock_drift:0<clock_jump n_carried:2<clock_jump n_gaps:3<clock_jump",
       Both(Samples(60, kLast, [](auto& sample) { sample.timeNs += 40000000; }),
            Samples(130, kLast, [](auto& sample) { sample.timeNs += 7000000; }))},
      {"Microseconds", "w_units:200",
       Both(Samples([](auto& sample) { sample.timeNs /= 1000; }),
            Frames(1, kLast,
                   [](auto& frame) { frame.timeNs /= 1000, frame.exposureNs /= 1000, frame.readoutNs /= 1000; }))},
      {"ExposuresInMicroseconds", "w_units:200", Frames(1, kLast, [](auto& frame) { frame.exposureNs /= 1000; })},
      {"Locked", "n_still:0", Samples([](auto& sample) { sample.x = 1, sample.y = -2; })},
      {"OnlyNoise", "n_still:0", Noise},
      {"DeadAxis", "w_dead_axis:200", Samples([](auto& sample) { sample.y = 3; })},
      {"DeadFirstAxis", "w_dead_axis:200", Samples([](auto& sample) { sample.x = 3; })},
      {"EndStop", "n_end_stop:0", Samples([](auto& sample) { sample.x = std::min(sample.x, 30.0); })},
      {"EndStopOfTheSecondAxis", "n_end_stop:0", Samples([](auto& sample) { sample.y = std::max(sample.y, -30.0); })},
      {"Steps", "w_steps:1@132", Samples(80, 81, [](auto& sample) { sample.x += 60; })},
      {"StepsOfTheSecondAxisInSmallUnits", "w_steps:1@135",
       Both(Samples(80, 81, [](auto& sample) { sample.y += 60; }),
            Samples([](auto& sample) { sample.x /= 1000, sample.y /= 1000; }))},
      {"LateBatches", "l_batches:5 n_not_delivered:4<batches",
       Samples(100, 104, [](auto& sample) { sample.frame = 105; })},
      {"LostBatches", "l_gaps:1 n_not_delivered:2<gaps n_carried:1<gaps n_batches:3<gaps",
       Lost([](auto const& sample) { return sample.frame >= 100 && sample.frame < 103; })},
      {"NoMoreSamples", "l_batches:101 n_not_delivered:100<batches",
       Lost([](auto const& sample) { return sample.frame >= 100; })},
      {"RepeatedSamples", "n_repeated:199", Repetitions},
      {"DiscardedBatch", "l_discarded:1 n_gaps:1<discarded",
       Samples(100, 100, [](auto& sample) { sample.timeNs -= 50000000; })},
      {"ModeSwitch", "n_long_exposure:101 n_mode_switch:1",
       Frames(100, kLast, [](auto& frame) { frame.readoutNs = 9000000; })},
      {"ModeSwitchAndALossLongAfterIt", "l_gaps:1 n_carried:1<gaps n_batches:2<gaps n_mode_switch:1",
       Both(Frames(100, kLast, [](auto& frame) { frame.readoutNs = 11000000; }),
            Lost([](auto const& sample) { return sample.frame >= 104 && sample.frame < 106; }))},
      // Samples from frame 100 on were taken from 1.651 s on: 1.5 ms after the readout of frame 99 at 1.633 s.
      {"FreezesWhileItMoves", "w_still:102@165", Both(Frozen(&Sample::x, 100), Frozen(&Sample::y, 100))},
      {"OneAxisFreezes", "w_dead_axis:102@165", Frozen(&Sample::y, 100)},
      {"AxesDrivenInTurn", "n_dead_axis:0@82 n_steps:0<dead_axis@165",
       Both(Frozen(&Sample::x, 50, 99), Frozen(&Sample::y, 100))},
      {"ATripodBeforeAHand", "",
       Samples([](auto& sample) { sample.x *= Risen(sample.frame), sample.y *= Risen(sample.frame); })},
      {"OneSpikeInAHundred", "w_steps:46@0", Spikes},
      {"EverySixthSampleIsNew", "w_held:180@-50", Held(6)},
      {"EverySecondSampleIsNew", "n_held:0@-50", Held(2)},
      {"ClockDriftsByTwoThousandPpm", "w_clock_drift:200",
       Samples([](auto& sample) { sample.timeNs += (sample.timeNs - 1000000000000) / 500; })},
      {"DeliveryJittersByFifteenMilliseconds", "n_batches:66",
       Samples(1, 199, [](auto& sample) { sample.frame += sample.frame % 3 == 0 ? 1 : 0; }), Delivered(40000, {})},
      {"EverySecondSampleIsNoLongerTaken", "n_rate_change:0@150",
       Lost([](auto const& sample) { return sample.frame >= 100 && sample.timeNs / 1000000 % 2 == 0; })},
      {"FrameTimesRepeat", "w_frame_times:10",
       Frames(101, 110, [](auto& frame) { frame.timeNs = 1001650000000; })},  // as frame 100
      {"NoExposures", "w_no_exposure:10", Frames(101, 110, [](auto& frame) { frame.exposureNs = 0; })},
      {"NoReadouts", "l_no_readout:10 n_mode_switch:2<no_readout",
       Frames(101, 110, [](auto& frame) { frame.readoutNs = 0; })},
      {"NotInTheSensorMap", "l_camera_off:200", {}, {}, "--device DIR"},
      {"LowLogLevel", "n_not_told:200", {}, {}, "--log-level 3"},
      {"LowLogLevelOfSparseSamples", "w_carried:79 n_not_told:200", {}, Plan(200, 59.7, 5000), "--log-level 3"},
  };
}

std::vector<GeneratedSickness> GeneratedSicknesses() {
  return {{"Healthy", "", ""},
          {"HostIsLate", "--event host@-1:60000", ""},
          {"PlatformIsLate", "--event platform@-1:60000", "l_late_delivery:286 n_batches:2<late_delivery"},
          {"PlatformIsALittleLate", "--event platform@-1:10000 --event host@-1:10000", "n_late_delivery:0"},
          {"SamplesAreSecondsOld", "--clock-offset-us -2500000", "w_clock_offset:290 n_late_delivery:290<clock_offset"},
          {"SamplesAreAheadOfTheirCalls", "--clock-offset-us 4000", "w_clock_ahead:290"},
          {"ComputedFirst", "--event order@2", "l_call_order:180 n_not_delivered:180<call_order"},
          {"OneStreamForTwo", "--cameras 2 --event shared@-1", "w_same_samples:290 w_same_samples:290"},
          {"TwoStreamsForTwo", "--cameras 2", ""},
          {"CallsOfAnotherEpoch", "", "n_clock_ahead:0", "s/^([0-9]+),([0-9])/\\1,9\\2/"},
          {"HostIsSecondsLate", "--event host@-1:900000", "l_history:270 n_carried:270<history"},
          {"HostIsSecondsLateAndSamplesStop", "--event host@-1:900000 --event outage@3:100000",
           "l_history:270 l_gaps:1 n_carried:270<history n_batches:6"},
          {"SamplesStop", "--event outage@2:900000",
           "l_gaps:1 n_not_delivered:54<gaps n_carried:1<gaps n_batches:54<gaps"}};
}

}  // namespace shadingctl
