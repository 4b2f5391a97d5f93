// Closed forms against numbers worked out by hand, and against replays of sessions that are made evenly.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <optional>
#include <string>
#include <vector>

#include "hosting/HostLibrary.h"
#include "tools/shadingctl/budget/Budget.h"
#include "tools/shadingctl/replay/Replay.h"
#include "tools/shadingctl/synthetic/SyntheticSession.h"

namespace shadingctl {
namespace {

Timing TimingOf(double hallRateHz, double frameRateHz, std::int64_t exposureUs, std::int64_t readoutUs) {
  return {std::llround(1e9 / hallRateHz), std::llround(1e9 / frameRateHz), exposureUs * 1000, readoutUs * 1000,
          1000000};
}

TEST(Budget, SharesAreThoseWorkedOutByHand) {
  struct {
    char const* name;
    Timing timing;
    double start;
    Obstacle obstacle;  // of the others
    double bothEndsNear;
  } const rows[] = {
      {"2999 us of every 5000 are near", TimingOf(200, 60, 1266, 15980), 0.5998, Obstacle::kTolerance, 0.5998},
      // The end lies 5 ms from the next sample on either side.
      {"2999 us of every 10000", TimingOf(100, 24, 1000, 15000), 0.2999, Obstacle::kTolerance, 0},
      {"50 samples in 30 frames", TimingOf(200, 120, 1000, 8000), 0, Obstacle::kHistory, 0},
      // Samples every 5.025 ms. 30 frames hold 100 of them up to a phase of 1.904 ms and from 4.415 ms on; one is near
      // the start, 0.32 ms before the timestamp, up to 1.18 ms and from 3.206 ms on: 1.79 of 5.025.
      {"99.5 samples in 30 frames", TimingOf(199, 60, 100, 15980), 0.356, Obstacle::kHistory, 0.356},
      // 15.598 ms back; the window begins 50 samples and the phase back: 12.5 ms.
      {"10 ms of exposure at 4 kHz", TimingOf(4000, 60, 10000, 16000), 0, Obstacle::kReach, 0},
      // 15.598 ms back less 1.5 ms of tolerance; 50 samples at 3500 Hz are 14.286 ms. The phase may take 188 of 285.7.
      {"10 ms of exposure at 3.5 kHz", TimingOf(3500, 60, 10000, 16000), 188.0 / 285.7, Obstacle::kReach,
       188.0 / 285.7},
      // 60 + 0.5432 * 15.98 + 0.166 = 68.846 ms back, less 1.5 ms; 50 samples are 50 ms, and 17 or 16 have come after
      // the timestamp, so the window may reach 82 or 83 back. But 15 frames a second are 500 ms of history.
      {"60 ms of exposure at 1 kHz, delivered early", TimingOf(1000, 15, 60000, 15980), 1, Obstacle::kNone, 1},
      {"60 ms of exposure at 1 kHz, a long readout", TimingOf(1000, 15, 60000, 50000), 0, Obstacle::kReach, 0},
      // The window ends 6.125 ms after the timestamp, the readout 14.29 ms after it.
      {"1 ms of exposure at 8 kHz", TimingOf(8000, 60, 1000, 16000), 1, Obstacle::kNone, 0},
      {"a readout of 400 us at 1 kHz has one sample", TimingOf(1000, 60, 1000, 400), 0, Obstacle::kSingle, 0},
      {"a readout of 600 us at 1 kHz has two", TimingOf(1000, 60, 1000, 600), 1, Obstacle::kNone, 1},
  };
  for (auto const& row : rows) {
    Budget const budget = MakeBudget(row.timing);
    EXPECT_NEAR(budget.Matched(), row.start, 0.004) << row.name;
    EXPECT_NEAR(budget.bothEndsNear, row.bothEndsNear, 0.004) << row.name;
    double sum = 0;
    for (double const share : budget.shares) sum += share;
    EXPECT_NEAR(sum, 1, 1e-9) << row.name;
    if (row.start < 1) {
      EXPECT_GT(budget.ShareOf(row.obstacle), 0) << row.name;
    }
  }
  // At 8 kHz: the window ends 6.125 to 6.25 ms after the timestamp, 7.834 to 7.959 ms after the start of 16 ms.
  Budget const short8kHz = MakeBudget(TimingOf(8000, 60, 1000, 16000));
  EXPECT_NEAR(*short8kHz.worstCoverage, 7.834 / 16, 0.0002);
  EXPECT_NEAR(*short8kHz.medianCoverage, 7.896 / 16, 0.0005);
}

TEST(Budget, LimitsHoldOnOneSideAndFailOnTheOther) {
  // Each limit of each timing, a little below and above it.
  for (Timing const& timing : {TimingOf(1000, 60, 10000, 15980), TimingOf(2500, 30, 5000, 30000),
                               TimingOf(480, 60, 8000, 15000), TimingOf(6000, 90, 3000, 10000)}) {
    Limits const limits = MakeBudget(timing).limits;
    auto const withExposure = [&](double factor) {
      Timing other = timing;
      other.exposureNs = std::llround(static_cast<double>(*limits.longestExposureNs) * factor);
      return MakeBudget(other);
    };
    ASSERT_TRUE(limits.longestExposureNs);
    EXPECT_EQ(withExposure(0.999).ShareOf(Obstacle::kReach), 0);
    EXPECT_GT(withExposure(1.01).ShareOf(Obstacle::kReach), 0);

    auto const withRate = [&](std::optional<double> const& hz, double factor) {
      Timing other = timing;
      other.hallIntervalNs = std::llround(1e9 / (*hz * factor));
      return MakeBudget(other);
    };
    EXPECT_EQ(withRate(limits.lowestToleranceHz, 1.001).ShareOf(Obstacle::kTolerance), 0);
    EXPECT_GT(withRate(limits.lowestToleranceHz, 0.99).ShareOf(Obstacle::kTolerance), 0);
    EXPECT_EQ(withRate(limits.lowestHistoryHz, 1.001).ShareOf(Obstacle::kHistory), 0);
    EXPECT_GT(withRate(limits.lowestHistoryHz, 0.999).ShareOf(Obstacle::kHistory), 0);
    ASSERT_TRUE(limits.highestStartHz);
    EXPECT_EQ(withRate(limits.highestStartHz, 0.999).ShareOf(Obstacle::kReach), 0);
    EXPECT_GT(withRate(limits.highestStartHz, 1.05).ShareOf(Obstacle::kReach), 0);
  }
  // The readout ends 13.861 ms after the timestamp, so 49 samples must take at least that long.
  Budget const budget = MakeBudget(TimingOf(200, 60, 1266, 15980));
  EXPECT_NEAR(*budget.limits.highestEndHz, 49 / 0.013861, 1);
  EXPECT_FALSE(budget.limits.lowestSpanHz);
  EXPECT_EQ(*MakeBudget(TimingOf(1000, 60, 1000, 400)).limits.lowestSpanHz, 1250);
}

TEST(Budget, RangesOfPhasesLeaveNothingOut) {
  for (double const hallRateHz : {97.0, 333.0, 1000.0, 3601.0, 20011.0}) {
    for (std::int64_t const exposureUs : {0, 700, 5000, 12000, 40000}) {
      Timing const timing = TimingOf(hallRateHz, 29.97, exposureUs, 17000);
      auto const ranges = OutcomesOfAllPhases(timing);
      std::size_t at = 0;
      for (std::int64_t i = 0; i < 2000; ++i) {
        std::int64_t const phaseNs = timing.hallIntervalNs * i / 2000;
        while (phaseNs >= ranges[at].endNs) ++at;
        PhaseOutcome const outcome = OutcomeAt(timing, phaseNs);
        ASSERT_EQ(outcome.obstacle, ranges[at].outcome.obstacle) << hallRateHz << " " << exposureUs << " " << phaseNs;
        ASSERT_EQ(outcome.first, ranges[at].outcome.first) << hallRateHz << " " << exposureUs << " " << phaseNs;
        ASSERT_EQ(outcome.last, ranges[at].outcome.last) << hallRateHz << " " << exposureUs << " " << phaseNs;
      }
    }
  }
}

// The library as a host has it, at the level at which it tells all. Loaded once a process.
class ReplayedBudget : public testing::Test {
 protected:
  static constexpr int kLogLevel = 4;
  static constexpr std::uint32_t kWarmUpFrames = 31;
  static constexpr double kCoverageOff = 0.004;  // three times truncated to us, of a readout of 907 us

  static VeyraShadingUtil& Library() {
    static VeyraShadingUtil& library = [&]() -> VeyraShadingUtil& {
      desktop::DeviceSettings settings = desktop::BuiltInDevice();
      settings.properties["vendor.veyra.3a.lscutil.log"] = kLogLevel;
      desktop::Device::Get().Configure(settings);
      return hosting::LoadShadingLibrary(hosting::DefaultLibraryPath());
    }();
    return library;
  }

  static SyntheticOptions EvenSession(Timing const& timing, std::uint32_t frames, std::int64_t hallPhaseNs = 0) {
    SyntheticOptions options;
    options.frames = frames;
    options.frameIntervalNs = timing.frameIntervalNs;
    options.hallIntervalNs = timing.hallIntervalNs;
    options.hallPhaseNs = hallPhaseNs;
    options.exposureNs = {timing.exposureNs, timing.exposureNs};
    options.readoutNs = Sweep{timing.readoutNs, timing.readoutNs};
    options.deliveryDelayNs = timing.deliveryDelayNs;
    options.jitterNs = options.pauseNs = 0;
    options.overlap = options.drop = 0;
    options.lateFrames = 0;
    return options;
  }

  // The results of the frames after the warm-up.
  static std::vector<FrameResult> Play(SyntheticOptions const& options) {
    Replay::Options replayOptions;
    replayOptions.resetMatched = true;
    Replay replay(Library(), desktop::Device::Get(), replayOptions, {});
    SyntheticSession session(options);
    std::vector<FrameResult> results;
    for (recording::Call call; session.Next(call);) {
      PlayedCall const played = replay.Play(call);
      if (played.frame && played.frame->frame.row.frame > kWarmUpFrames) results.push_back(played.frame->frame.row);
    }
    return results;
  }

  // From a frame to the first sample at or after it; samples begin 20 ms before the first frame.
  static std::int64_t PhaseNs(Timing const& timing, std::uint32_t frame) {
    std::int64_t const sinceFirstSampleNs = 20000000 + (frame - 1) * timing.frameIntervalNs;
    std::int64_t const restNs = sinceFirstSampleNs % timing.hallIntervalNs;
    return restNs == 0 ? 0 : timing.hallIntervalNs - restNs;
  }

  static bool IsSame(PhaseOutcome const& outcome, FrameResult const& result) {
    switch (outcome.obstacle) {
      case Obstacle::kHistory:
      case Obstacle::kNothingAfter:
        return result.match == Match::kNoWindow;
      case Obstacle::kReach:
      case Obstacle::kTolerance:
        return result.match == Match::kNoStart;
      case Obstacle::kSingle:
        return result.match == Match::kSingle && result.startIndex == outcome.first;
      case Obstacle::kNone:
        return result.match == Match::kStart && result.startIndex == outcome.first && result.endIndex == outcome.last &&
               (result.end == SpanEnd::kNear) == outcome.endIsNear &&
               std::abs(result.coverage.value_or(-1) - outcome.coverage) < kCoverageOff;
    }
    return false;
  }
};

// 270 settings, frame by frame. The library truncates times to us: a phase that lies within one of a limit may fall on
// either side of it.
TEST_F(ReplayedBudget, EveryFrameIsAsTheFormulasSay) {
  if (access("/proc/self/exe", F_OK) != 0) GTEST_SKIP() << "/proc is not mounted, by which the library is found";
  std::size_t settings = 0;
  std::size_t reached[kObstacleCount] = {};
  for (double const hallRateHz : {97.0, 199.9, 251.0, 331.7, 397.0, 499.0, 997.0, 2003.0, 4001.0, 8009.0}) {
    for (double const frameRateHz : {23.976, 60.0, 119.7}) {
      auto const frameUs = static_cast<std::int64_t>(1e6 / frameRateHz);
      for (std::int64_t const exposureUs : {std::int64_t{211}, std::int64_t{4999}, 2 * frameUs}) {
        for (std::int64_t const readoutUs : {std::int64_t{907}, frameUs * 4 / 10, frameUs * 96 / 100}) {
          Timing const timing = TimingOf(hallRateHz, frameRateHz, exposureUs, readoutUs);
          ++settings;
          for (FrameResult const& result : Play(EvenSession(timing, kWarmUpFrames + 30))) {
            std::int64_t const phaseNs = PhaseNs(timing, result.frame);
            PhaseOutcome const outcome = OutcomeAt(timing, phaseNs);
            ++reached[static_cast<std::size_t>(outcome.obstacle)];
            ASSERT_TRUE(IsSame(outcome, result) || IsSame(OutcomeAt(timing, phaseNs - kMicrosecondNs), result) ||
                        IsSame(OutcomeAt(timing, phaseNs + kMicrosecondNs), result))
                << hallRateHz << " samples and " << frameRateHz << " frames a second, exposure " << exposureUs
                << " us, readout " << readoutUs << " us, frame " << result.frame << " at phase " << phaseNs
                << " ns: " << Name(result.match) << " " << result.startIndex.value_or(-1) << " to "
                << result.endIndex.value_or(-1) << " " << result.message << ", expected obstacle "
                << static_cast<int>(outcome.obstacle) << ", " << outcome.first << " to " << outcome.last;
          }
        }
      }
    }
  }
  EXPECT_EQ(settings, 270U);
  for (Obstacle const obstacle :
       {Obstacle::kNone, Obstacle::kHistory, Obstacle::kReach, Obstacle::kTolerance, Obstacle::kSingle}) {
    EXPECT_GT(reached[static_cast<std::size_t>(obstacle)], 100U) << static_cast<int>(obstacle);
  }
}

TEST_F(ReplayedBudget, LockedPhasesMatchBetweenTheTwoShares) {
  if (access("/proc/self/exe", F_OK) != 0) GTEST_SKIP() << "/proc is not mounted, by which the library is found";
  for (double const hallRateHz : {180.0, 200.0, 240.0, 300.0}) {
    Timing const timing = TimingOf(hallRateHz, 60, 1000, 15980);
    Budget const budget = MakeBudget(timing);
    ASSERT_TRUE(budget.lock) << hallRateHz;
    double lowest = 1;
    double highest = 0;
    for (std::int64_t step = 0; step < 20; ++step) {
      auto const results = Play(EvenSession(timing, kWarmUpFrames + 30, timing.hallIntervalNs * step / 20));
      auto const starts = std::count_if(results.begin(), results.end(),
                                        [](FrameResult const& result) { return result.match == Match::kStart; });
      double const share = static_cast<double>(starts) / static_cast<double>(results.size());
      lowest = std::min(lowest, share);
      highest = std::max(highest, share);
    }
    EXPECT_NEAR(lowest, budget.lock->lowestMatch, 0.02) << hallRateHz;
    EXPECT_NEAR(highest, budget.lock->highestMatch, 0.02) << hallRateHz;
  }
}

}  // namespace
}  // namespace shadingctl
