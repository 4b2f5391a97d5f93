// Fits sessions whose truth is known.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <ostream>
#include <string>
#include <vector>

#include "tests/shadingctl/parts/BenchWorld.h"
#include "tools/shadingctl/fit/LagFit.h"

namespace shadingctl {

std::ostream& operator<<(std::ostream& stream, BenchTruth const& truth) { return stream << truth.name; }

namespace {

class KnownTruth : public testing::TestWithParam<BenchTruth> {};

// Of 95 %, chance leaves seven eighths in so few sessions; docs/measurements.md has more of them.
TEST_P(KnownTruth, IsHeldJudgedAndExplained) {
  constexpr unsigned kSessions = 8;
  constexpr int kFewest = 6;
  BenchTruth const& truth = GetParam();
  BenchScore score = ScoreBench(truth, 1, kSessions);
  double held = 0;
  double told = 0;
  for (auto const& [quantity, sessions] : score.told) {
    told += sessions;
    held += score.held[quantity];
    EXPECT_GE(score.held[quantity], sessions * 5 / 8) << quantity;
  }
  EXPECT_GE(held, 0.875 * told);
  EXPECT_GE(score.verdicts[truth.verdict], kFewest) << testing::PrintToString(score.verdicts);
  if (truth.verdict.find('(') == std::string::npos) {
    EXPECT_GE(score.diagnoses[truth.diagnosis], kFewest) << testing::PrintToString(score.diagnoses);
    EXPECT_GE(score.follows[truth.follows], kFewest) << testing::PrintToString(score.follows);
  }
}

INSTANTIATE_TEST_SUITE_P(Fit, KnownTruth, testing::ValuesIn(BenchKinds()), [](auto const& row) {
  std::string name = row.param.name;
  name.erase(std::remove_if(name.begin(), name.end(), [](unsigned char c) { return std::isalnum(c) == 0; }),
             name.end());
  return name;
});

TEST(Fit, RefusesWithTheCauseWhatCannotTellALag) {
  std::size_t row = 0;
  for (UselessBench const& useless : UselessBenches()) {
    SCOPED_TRACE(std::to_string(row++) + " " + useless.code);
    ReferenceFit const fit = FitReference(useless.data.samples, useless.data.frames, {});
    EXPECT_EQ(VerdictCode(fit), std::string("cannot_tell (") + useless.code + ")");
    EXPECT_NE(ReasonOf(fit).find(useless.figure), std::string::npos) << ReasonOf(fit);
    EXPECT_EQ(fit.hasLag, useless.hasLag);
    EXPECT_EQ(EstimateOf(fit, 0, kLagUs).has_value(), useless.hasLag);
    EXPECT_EQ(fit.search.empty(), !useless.hasLag);
  }
}

TEST(Fit, LeavesOutFramesBesideAGapAndIsTheSameEveryTime) {
  BenchTruth truth;
  truth.interceptUs = 1000;
  BenchData data = MakeBench(truth, 3);
  auto const isInGap = [](HallSample const& sample) {
    return sample.timeNs > 2000000000 && sample.timeNs < 2030000000;
  };
  data.samples.erase(std::remove_if(data.samples.begin(), data.samples.end(), isInGap), data.samples.end());
  ReferenceFit const fit = FitReference(data.samples, data.frames, {});
  // Readouts of 12 ms with 10 ms on either side, between the lags of both axes, that touch the 30 ms: they start within
  // 62 to 64 ms, 16.667 ms apart.
  EXPECT_GE(fit.leftOut, 3U);
  EXPECT_LE(fit.leftOut, 4U);
  std::reverse(data.samples.begin(), data.samples.end());
  ReferenceFit const again = FitReference(data.samples, data.frames, {});
  EXPECT_EQ(fit.axes[1].at, again.axes[1].at);
}

TEST(Fit, MarksTheFramesThatAreOff) {
  BenchData data = MakeBench({}, 7);
  for (std::size_t const frame : {0U, 50U, 51U, 299U}) data.frames[frame].position[1] += 5;
  ReferenceFit const fit = FitReference(data.samples, data.frames, {});
  std::vector<std::size_t> marked;
  for (std::size_t i = 0; i < fit.windows.list.size(); ++i) {
    if (fit.axes[1].isOutlier[i]) marked.push_back(fit.windows.list[i].frame);
  }
  EXPECT_EQ(marked, (std::vector<std::size_t>{0, 50, 51, 299})) << "5 is 25 deviations of their errors";
  // The curve over lags is of one model: it has its least value at the best lag.
  auto const least = std::min_element(fit.search.begin(), fit.search.end(),
                                      [](auto const& a, auto const& b) { return a.share[1] < b.share[1]; });
  EXPECT_NEAR(least->lagUs, fit.axes[1].at[kLag], 300);
  EXPECT_GT(least->share[1], least->share[0]) << "the frames are off in y alone";
}

}  // namespace
}  // namespace shadingctl
