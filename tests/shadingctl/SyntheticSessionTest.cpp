#include "tools/shadingctl/SyntheticSession.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace shadingctl {
namespace {

// What a session holds, as far as its options promise something.
struct Content {
  std::uint32_t frames = 0;
  std::uint32_t lastNumber = 0;
  std::uint32_t withoutSamples = 0;
  std::uint32_t longestSilence = 0;    // frames in a row without samples
  std::uint32_t beginsEarlier = 0;     // batches that begin before the end of the one before
  std::int64_t longestIntervalNs = 0;  // between samples in the order of time
  float largestPosition = 0;
};

Content Read(SyntheticOptions const& options) {
  SyntheticSession session(options);
  Content content;
  std::uint32_t silence = 0;
  std::int64_t newestNs = 0;
  for (Delivery delivery; session.Next(delivery);) {
    ++content.frames;
    content.lastNumber = delivery.frame.number;
    silence = delivery.samples.empty() ? silence + 1 : 0;
    content.withoutSamples += delivery.samples.empty() ? 1U : 0U;
    content.longestSilence = std::max(content.longestSilence, silence);
    if (!delivery.samples.empty() && delivery.samples.front().timestamp < newestNs) ++content.beginsEarlier;
    for (auto const& sample : delivery.samples) {
      if (newestNs != 0) content.longestIntervalNs = std::max(content.longestIntervalNs, sample.timestamp - newestNs);
      newestNs = std::max(newestNs, sample.timestamp);
      content.largestPosition =
          std::max({content.largestPosition, std::abs(sample.oisHallX), std::abs(sample.oisHallY)});
    }
  }
  return content;
}

TEST(SyntheticSession, HasTheIrregularitiesOfAPhone) {
  Content const content = Read({});
  EXPECT_EQ(content.frames, 297U);
  EXPECT_EQ(content.lastNumber, 300U);
  EXPECT_EQ(content.withoutSamples, 8U);
  EXPECT_EQ(content.longestSilence, 8U);
  EXPECT_NEAR(content.beginsEarlier, 297 / 2, 30);
  EXPECT_NEAR(static_cast<double>(content.longestIntervalNs), 21e6, 1.2e6);  // the pause
  EXPECT_GT(content.largestPosition, 40.0F);
  EXPECT_LT(content.largestPosition, 60.0F);
}

TEST(SyntheticSession, IsRegularWhenAskedTo) {
  SyntheticOptions options;
  options.frames = 200;
  options.frameIntervalNs = 33333333;
  options.hallIntervalNs = 2000000;
  options.jitterNs = 100000;
  options.overlap = options.drop = 0;
  options.lateFrames = 0;
  options.pauseNs = 0;
  Content const content = Read(options);
  EXPECT_EQ(content.frames, 200U);
  EXPECT_EQ(content.withoutSamples, 0U);
  EXPECT_EQ(content.beginsEarlier, 0U);
  EXPECT_GT(content.longestIntervalNs, 2000000);
  EXPECT_LE(content.longestIntervalNs, 2200000);
  options.overlap = 1;
  EXPECT_GT(Read(options).beginsEarlier, 190U);
}

}  // namespace
}  // namespace shadingctl
