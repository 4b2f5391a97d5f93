// What each option of a synthetic session does to it, beside the session without it.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <string>
#include <vector>

#include "tools/shadingctl/synthetic/SyntheticSession.h"

namespace shadingctl {
namespace {

using Samples = std::vector<NSCam::Utils::SensorData>;

// Without the troubles that the built-in session has.
SyntheticOptions Healthy() {
  SyntheticOptions options;
  options.frames = 120;
  options.jitterNs = 0;
  options.pauseNs = 0;
  options.overlap = 0;
  options.drop = 0;
  options.lateFrames = 0;
  options.types = {0};
  options.cameras = {{0, 3}};
  return options;
}

std::vector<recording::Call> CallsOf(SyntheticOptions const& options) {
  SyntheticSession session(options);
  std::vector<recording::Call> calls;
  for (recording::Call call; session.Next(call);) calls.push_back(call);
  return calls;
}

template <class Operation>
std::vector<Operation> Only(std::vector<recording::Call> const& calls) {
  std::vector<Operation> operations;
  for (recording::Call const& call : calls) {
    if (auto const* const operation = std::get_if<Operation>(&call.operation)) operations.push_back(*operation);
  }
  return operations;
}

Samples SamplesOf(SyntheticOptions const& options) {
  Samples samples;
  for (auto const& update : Only<recording::UpdateSensorData>(CallsOf(options))) {
    samples.insert(samples.end(), update.batch.begin(), update.batch.end());
  }
  return samples;
}

// 'S'tart, 's'top, 'R'eadout, 'U'pdate, 'C'alculation.
std::string OrderOf(std::vector<recording::Call> const& calls) {
  std::string order;
  for (recording::Call const& call : calls) order += "SsRUC"[call.operation.index()];
  return order;
}

constexpr std::int64_t kSecondNs = 1000000000;
constexpr std::size_t kBegun = 1020;  // samples before an event at 1 s: 20 ms before the first frame, at 1 kHz

TEST(SyntheticSession, ClockTroublesChangeTheTimesAlone) {
  Samples const healthy = SamplesOf(Healthy());
  struct {
    char const* name;
    ClockTrouble clock;
    std::vector<Event> events;
    std::int64_t (*expected)(std::int64_t timeNs, std::int64_t begunNs);
  } const rows[] = {
      {"offset", {-12000000, 1}, {}, [](std::int64_t timeNs, std::int64_t /*begun*/) { return timeNs - 12000000; }},
      {"unit", {0, 1000}, {}, [](std::int64_t timeNs, std::int64_t /*begun*/) { return timeNs / 1000; }},
      {"jump",
       {},
       {{EventKind::kJump, kSecondNs, 40000}},
       [](std::int64_t timeNs, std::int64_t begunNs) { return timeNs + (begunNs >= 0 ? 40000000 : 0); }},
      {"drift",
       {},
       {{EventKind::kDrift, kSecondNs, 1000}},
       [](std::int64_t timeNs, std::int64_t begunNs) {
         return timeNs +
                (begunNs >= 0 ? (kSecondNs + begunNs) / 1000 : 0);  // 1 ms in each second since the first frame
       }},
  };
  for (auto const& row : rows) {
    SyntheticOptions options = Healthy();
    options.clock = row.clock;
    options.events = row.events;
    Samples const samples = SamplesOf(options);
    ASSERT_EQ(samples.size(), healthy.size()) << row.name;
    for (std::size_t i = 0; i < samples.size(); ++i) {
      std::int64_t const begunNs = (static_cast<std::int64_t>(i) - static_cast<std::int64_t>(kBegun)) * 1000000;
      ASSERT_EQ(samples[i].timestamp, row.expected(healthy[i].timestamp, begunNs)) << row.name << " " << i;
      ASSERT_EQ(samples[i].oisHallX, healthy[i].oisHallX) << row.name << " " << i;
    }
  }
}

TEST(SyntheticSession, LensTroublesChangeThePositionsAlone) {
  Samples const healthy = SamplesOf(Healthy());
  auto const clamped = [](float position) { return std::clamp(position, -20.0F, 20.0F); };
  auto const isAt = [](NSCam::Utils::SensorData const& sample, float x, float y) {
    return sample.oisHallX == x && sample.oisHallY == y;
  };
  auto const from = [](EventKind kind, double amount) { return std::vector<Event>{{kind, kSecondNs, amount}}; };
  struct {
    char const* name;
    LensTrouble lens;
    std::vector<Event> events;
    std::function<bool(std::size_t i, Samples const& samples)> holds;  // of an event: once it has begun
  } const rows[] = {
      {"end stop, with noise at it",
       {20.0, 0},
       {},
       [&](std::size_t i, Samples const& all) {
         return std::abs(all[i].oisHallX - clamped(healthy[i].oisHallX)) <= 0.1F && std::abs(all[i].oisHallX) != 20.0F;
       }},
      {"grain",
       {{}, 0.5},
       {},
       [&](std::size_t i, Samples const& all) {
         return std::remainder(all[i].oisHallX, 0.5F) == 0 && std::abs(all[i].oisHallX - healthy[i].oisHallX) <= 0.25F;
       }},
      {"freeze",
       {},
       from(EventKind::kFreeze, 0),
       [&](std::size_t i, Samples const& all) {
         return isAt(all[i], healthy[kBegun - 1].oisHallX, healthy[kBegun - 1].oisHallY);
       }},
      {"freeze of one axis",
       {},
       from(EventKind::kFreezeX, 0),
       [&](std::size_t i, Samples const& all) {
         return isAt(all[i], healthy[kBegun - 1].oisHallX, healthy[i].oisHallY);
       }},
      {"held",
       {},
       from(EventKind::kHeld, 4),
       [&](std::size_t i, Samples const& all) {
         return isAt(all[i], healthy[i / 4 * 4].oisHallX, healthy[i / 4 * 4].oisHallY);
       }},
      {"flips",
       {},
       from(EventKind::kFlips, 100),
       [&](std::size_t i, Samples const& all) {
         float const sign = i / 100 % 2 == 1 ? -1.0F : 1.0F;
         return isAt(all[i], sign * healthy[i].oisHallX, sign * healthy[i].oisHallY);
       }},
  };
  for (auto const& row : rows) {
    SyntheticOptions options = Healthy();
    options.lens = row.lens;
    options.events = row.events;
    Samples const samples = SamplesOf(options);
    ASSERT_EQ(samples.size(), healthy.size()) << row.name;
    for (std::size_t i = 0; i < samples.size(); ++i) {
      bool const isHealthy = !row.events.empty() && i < kBegun;
      ASSERT_TRUE(isHealthy ? isAt(samples[i], healthy[i].oisHallX, healthy[i].oisHallY) : row.holds(i, samples))
          << row.name << " " << i;
      ASSERT_EQ(samples[i].timestamp, healthy[i].timestamp) << row.name;
    }
  }
}

TEST(SyntheticSession, BatchesAreLostOrBeginWithTheBatchBefore) {
  SyntheticOptions options = Healthy();
  options.lost = 0.2;
  auto const lossy = Only<recording::UpdateSensorData>(CallsOf(options));
  auto const empty = std::count_if(lossy.begin(), lossy.end(), [](auto const& update) { return update.batch.empty(); });
  EXPECT_NEAR(static_cast<double>(empty), 24, 12);  // 120 frames, a standard deviation of 4.4

  options = Healthy();
  options.discarded = 0.2;
  auto const updates = Only<recording::UpdateSensorData>(CallsOf(options));
  std::size_t repeating = 0;
  for (std::size_t i = 1; i < updates.size(); ++i) {
    Samples const& before = updates[i - 1].batch;
    Samples const& batch = updates[i].batch;
    bool const isRepeated = batch.front().timestamp == before.front().timestamp;
    if (isRepeated) ++repeating;
    ASSERT_TRUE(isRepeated || batch.front().timestamp == before.back().timestamp + 1000000) << i;
    std::int64_t const newNs = batch.back().timestamp - before.back().timestamp;
    ASSERT_TRUE(newNs == 16000000 || newNs == 17000000) << i;
  }
  EXPECT_NEAR(static_cast<double>(repeating), 24, 12);
}

TEST(SyntheticSession, TimesOfFramesGoFromOneValueToTheOtherAndBack) {
  SyntheticOptions options = Healthy();
  options.frames = 601;
  options.exposureNs = {1000000, 7000000};
  options.laterExposuresNs[0] = Sweep{500000, 500000};
  options.laterExposuresNs[1] = Sweep{200000, 800000};
  options.readoutNs = Sweep{20000000, 8000000};
  auto const calls = CallsOf(options);
  auto const frames = Only<recording::CalcOisValue>(calls);
  auto const readouts = Only<recording::StoreRollingShutter>(calls);
  ASSERT_EQ(frames.size(), 601U);
  ASSERT_EQ(readouts.size(), 601U);  // it changes with every frame
  struct {
    std::size_t index;
    std::uint64_t exposureNs;
    std::uint64_t exposure2Ns;
    std::uint32_t readoutNs;
  } const rows[] = {{0, 1000000, 200000, 20000000},
                    {150, 4000000, 500000, 14000000},
                    {300, 7000000, 800000, 8000000},
                    {450, 4000000, 500000, 14000000},
                    {600, 1000000, 200000, 20000000}};
  for (auto const& row : rows) {
    auto const& pairs = frames[row.index].pairs;
    EXPECT_EQ(pairs[0].exposureNs, row.exposureNs) << row.index;
    EXPECT_EQ(pairs[1].exposureNs, 500000U) << row.index;
    EXPECT_EQ(pairs[2].exposureNs, row.exposure2Ns) << row.index;
    EXPECT_EQ(pairs[1].timestampNs, pairs[0].timestampNs + 500000) << row.index;
    EXPECT_EQ(pairs[2].timestampNs, pairs[1].timestampNs + row.exposure2Ns) << row.index;
    EXPECT_EQ(readouts[row.index].rollingShutterNs, row.readoutNs) << row.index;
  }
}

TEST(SyntheticSession, CallsComeInTheOrderThatIsAskedFor) {
  SyntheticOptions plain = Healthy();
  plain.frames = 4;
  SyntheticOptions calculateFirst = plain;
  calculateFirst.events = {{EventKind::kOrder, 0, 0}};
  SyntheticOptions twice = plain;
  twice.types = {0, 5};
  SyntheticOptions restarted = plain;
  restarted.restarts = 1;
  SyntheticOptions switched = plain;
  switched.modes = {2, 33000000, 0};
  SyntheticOptions switchedLate = plain;
  switchedLate.modes = {2, 33000000, 1};
  struct {
    SyntheticOptions options;
    char const* order;
  } const rows[] = {
      {plain, "SRUCUCUCUCs"},        {calculateFirst, "SRCUCUCUCUs"}, {twice, "SRUCCUCCUCCUCCs"},
      {restarted, "SRUCUCsSRUCUCs"}, {switched, "SRUCUCRUCUCs"},      {switchedLate, "SRUCUCUCRUCs"},
  };
  for (auto const& row : rows) EXPECT_EQ(OrderOf(CallsOf(row.options)), row.order);
  auto const readouts = Only<recording::StoreRollingShutter>(CallsOf(switched));
  EXPECT_EQ(readouts[1].sensorMode, 1U);
  EXPECT_EQ(readouts[1].rollingShutterNs, 33000000U);
}

TEST(SyntheticSession, CallsOfTwoCamerasInterleaveByTime) {
  SyntheticOptions options = Healthy();
  options.cameras = {{0, 3}, {2, 5}};
  auto const calls = CallsOf(options);
  std::string cameras;
  for (std::size_t i = 0; i < calls.size(); ++i) {
    cameras += std::to_string(calls[i].camera.value_or(9));
    if (i > 0) {
      ASSERT_LE(calls[i - 1].timeNs, calls[i].timeNs) << i;
    }
  }
  EXPECT_EQ(cameras.substr(0, 12), "020002220022") << "starts, readouts with their frames, then frame by frame";
  auto const updates = Only<recording::UpdateSensorData>(calls);
  EXPECT_EQ(updates[1].timestampNs - updates[0].timestampNs, 8333333U) << "half a frame";
  EXPECT_NE(updates[1].batch.back().oisHallX, updates[2].batch.back().oisHallX);
}

}  // namespace
}  // namespace shadingctl
