// Fits sessions whose truth is known.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
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

struct Useless {
  char const* code;
  char const* reason;
  bool hasLag;  // what was found at the best lag is told
  std::function<void(BenchTruth&)> set;
  std::function<void(BenchData&)> spoil;
};

TEST(Fit, RefusesWithTheCauseWhatCannotTellALag) {
  auto const same = [](auto&) {};
  Useless const table[] = {
      {"too_few_frames", "expected 100 frames of the reference with samples all around them, found 99", false,
       [](BenchTruth& truth) { truth.frames = 99; }, same},
      {"too_few_samples", "expected a sample every 10000 us, found one every 11", false,
       [](BenchTruth& truth) { truth.hallHz = 90; }, same},
      {"too_few_samples", "expected samples at different times", false, same,
       [](BenchData& data) { data.samples.resize(1); }},
      {"search_edge", "reference x: expected a lag within 7", true,
       [](BenchTruth& truth) { truth.interceptUs = 69000; }, same},
      {"too_little_motion", "reference y stands still", false, same,
       [](BenchData& data) {
         for (auto& frame : data.frames) frame.position[1] = 5;
       }},
      {"too_little_motion", "hall_x or hall_y stands still", false, same,
       [](BenchData& data) {
         for (auto& sample : data.samples) sample.y = 3;
       }},
      {"too_little_motion", "reference y: too little motion", true, same,
       [](BenchData& data) {
         for (auto& frame : data.frames) frame.position[1] = (frame.frame * 7919) % 101;
       }},
      {"clipped", "expected 100 frames", false, [](BenchTruth& truth) { truth.clip = 4; }, same},
      {"not_this_recording", "expected frames of the recording", false, same,
       [](BenchData& data) { data.frames.clear(); }},
  };
  for (Useless const& row : table) {
    BenchTruth truth;
    row.set(truth);
    BenchData data = MakeBench(truth, 5);
    row.spoil(data);
    ReferenceFit const fit = FitReference(data.samples, data.frames, {});
    ASSERT_TRUE(fit.refused) << row.reason;
    EXPECT_EQ(fit.refused->code, std::string(row.code));
    EXPECT_EQ(fit.refused->text.rfind(row.reason, 0), 0U) << fit.refused->text;
    EXPECT_EQ(VerdictOf(fit), "cannot_tell");
    EXPECT_EQ(fit.hasLag, row.hasLag) << row.reason;
    EXPECT_EQ(EstimateOf(fit, 0, kLagUs).has_value(), row.hasLag);
    EXPECT_EQ(fit.search.empty(), !row.hasLag);
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
}

}  // namespace
}  // namespace shadingctl
