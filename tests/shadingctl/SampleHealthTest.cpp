#include "tools/shadingctl/SampleHealth.h"

#include <gtest/gtest.h>

#include <cmath>
#include <initializer_list>
#include <vector>

namespace shadingctl {
namespace {

std::vector<NSCam::Utils::SensorData> Batch(std::initializer_list<long> timesUs) {
  std::vector<NSCam::Utils::SensorData> batch;
  for (long const timeUs : timesUs) {
    batch.emplace_back();
    batch.back().timestamp = timeUs * 1000;
  }
  return batch;
}

TEST(SampleHealth, RepeatsAndGapsStandApart) {
  SampleHealth health;
  health.Add(Batch({0, 1000, 1900, 3000}));  // intervals 1000, 900, 1100
  health.Add(Batch({}));
  health.Add(Batch({1901, 3002, 4000, 5000}));  // 1901 and 3002 were told before; 998, 1000
  health.Add(Batch({5000, 6000, 8500, 9500}));  // 5000 has the very same time; 1000, a gap of 2500, 1000
  SampleHealth::Report const report = health.Summarize();
  EXPECT_EQ(report.delivered, 12U);
  EXPECT_EQ(report.batches, 3U);
  EXPECT_EQ(report.backwardSteps, 1U);
  EXPECT_EQ(report.repeated, 3U);
  EXPECT_EQ(report.duplicates, 1U);
  EXPECT_EQ(report.gaps, 1U);
  EXPECT_DOUBLE_EQ(report.rateHz.value(), 8 / 0.0095);
  EXPECT_DOUBLE_EQ(report.longestUs.value(), 2500.0);
  EXPECT_NEAR(report.intervalUs.value(), 1000.0, 1000.0 / 64);
  // 1000, 900, 1100, 998, 1000, 1000, 1000: mean 6998 / 7, squares 7016004 / 7
  EXPECT_NEAR(report.jitterUs.value(), std::sqrt(7016004.0 / 7 - (6998.0 / 7) * (6998.0 / 7)), 1e-6);
}

TEST(SampleHealth, OneSampleHasNoRate) {
  SampleHealth health;
  health.Add(Batch({-5}));
  EXPECT_EQ(health.Summarize().delivered, 1U);
  EXPECT_FALSE(health.Summarize().rateHz.has_value());
}

// The bins are as wide as 1/64 of a value: nothing may fall between two of them, at either end of the range.
TEST(Histogram, FindsTheMiddleOfAnySize) {
  for (std::int64_t const value : {1L, 63L, 64L, 127L, 128L, 1000003L, 1L << 40, (1L << 62) + 12345}) {
    Histogram histogram;
    histogram.Add(0);
    histogram.Add(value);
    histogram.Add(value);
    EXPECT_DOUBLE_EQ(histogram.Median().value(), static_cast<double>(value));
    EXPECT_EQ(histogram.Between(static_cast<double>(value) / 2, static_cast<double>(value)).count, 2U) << value;
    EXPECT_EQ(histogram.largest(), value);
  }
}

}  // namespace
}  // namespace shadingctl
